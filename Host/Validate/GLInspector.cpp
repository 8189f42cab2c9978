#include "GLInspector.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>

#include <glbinding/AbstractFunction.h>
#include <glbinding/Binding.h>
#include <glbinding/FunctionCall.h>
#include <glbinding/callbacks.h>

namespace fxhost {

namespace {

using GetError = unsigned (*)();
using GetIntegerv = void (*)(unsigned, int*);

constexpr unsigned kMaxTextureSize = 0x0D33, kMaxRenderbufferSize = 0x84E8;
// Names above this are not counted; an effect that leaks gets there only slowly.
constexpr unsigned kCensusNames = 4096;

template <typename F>
F glFunction(const char* name) {
    return reinterpret_cast<F>(eglGetProcAddress(name));
}

std::string errorText(unsigned error) {
    switch (error) {
        case 0x0500:
            return "GL_INVALID_ENUM";
        case 0x0501:
            return "GL_INVALID_VALUE";
        case 0x0502:
            return "GL_INVALID_OPERATION";
        case 0x0505:
            return "GL_OUT_OF_MEMORY";
        case 0x0506:
            return "GL_INVALID_FRAMEBUFFER_OPERATION";
    }
    char text[32];
    std::snprintf(text, sizeof text, "GL error 0x%x", error);
    return text;
}

// Up to a few errors: a context that keeps reporting one is reported once.
std::string drainErrors() {
    static const GetError getError = glFunction<GetError>("glGetError");
    std::string text;
    for (int i = 0; i < 4; ++i) {
        const unsigned error = getError();
        if (error == 0) break;
        text += (text.empty() ? "" : ", ") + errorText(error);
    }
    return text;
}

// The call watch is process-wide, as glbinding's callbacks are.
struct CallWatch {
    EGLContext hostContext = EGL_NO_CONTEXT;
    bool installed = false;
    std::atomic<long> calls{0};
    std::atomic<long> offences{0};
    std::mutex mutex;
    std::string activity;
    std::string firstOffence;
};

CallWatch& watch() {
    static CallWatch w;
    return w;
}

void beforeCall(const glbinding::FunctionCall& call) {
    CallWatch& w = watch();
    ++w.calls;
    const EGLContext current = eglGetCurrentContext();
    if (current != EGL_NO_CONTEXT && current != w.hostContext) return;
    if (w.offences++ == 0) {
        std::lock_guard<std::mutex> lock(w.mutex);
        w.firstOffence =
            std::string(call.function->name()) +
            (current == EGL_NO_CONTEXT ? " with no context current" : " with the host's context current") +
            (w.activity.empty() ? "" : ", during " + w.activity);
    }
}

}  // namespace

GLInspector::GLInspector(EffectHost& host, bool countObjects) : mHost(host), mCountObjects(countObjects) {
    mHost.callbackProbe = [this] { probe(); };
}

GLInspector::~GLInspector() {
    mHost.callbackProbe = nullptr;
}

void GLInspector::probe() {
    const EGLContext current = eglGetCurrentContext();
    if (current == EGL_NO_CONTEXT || (mHost.glContext() && current == mHost.glContext()->context())) return;
    mContexts.insert(current);
    if (mCountObjects && !mCensus) mCensus = Census::take(kCensusNames);
}

std::string GLInspector::pendingErrors() {
    HostGLContext* hostContext = mHost.glContext();
    if (!hostContext) return "";
    std::string text;
    auto add = [&text](const std::string& errors, const std::string& where) {
        if (!errors.empty()) text += (text.empty() ? "" : "; ") + errors + " in " + where;
    };
    hostContext->makeCurrent();
    add(drainErrors(), "the host's context");
    for (EGLContext context : mContexts) {
        // A context the effect has destroyed is refused here and has nothing left to report.
        if (eglMakeCurrent(hostContext->display(), EGL_NO_SURFACE, EGL_NO_SURFACE, context) != EGL_TRUE) {
            continue;
        }
        char where[64];
        std::snprintf(where, sizeof where, "the effect's context %p", static_cast<void*>(context));
        add(drainErrors(), where);
    }
    hostContext->makeCurrent();
    return text;
}

std::string GLInspector::hostContextDamage() {
    HostGLContext* hostContext = mHost.glContext();
    if (!hostContext) return "";
    hostContext->makeCurrent();
    static const GetIntegerv getIntegerv = glFunction<GetIntegerv>("glGetIntegerv");
    std::string text;
    const Census census = Census::take(kCensusNames);
    if (census.total() != 0) text = "objects were made in it (" + census.describe() + ")";
    static const struct {
        unsigned name;
        const char* text;
    } kBindings[] = {{0x8B8D, "GL_CURRENT_PROGRAM"},           {0x8069, "GL_TEXTURE_BINDING_2D"},
                     {0x8CA6, "GL_DRAW_FRAMEBUFFER_BINDING"},  {0x8CAA, "GL_READ_FRAMEBUFFER_BINDING"},
                     {0x85B5, "GL_VERTEX_ARRAY_BINDING"},      {0x8894, "GL_ARRAY_BUFFER_BINDING"},
                     {0x88ED, "GL_PIXEL_PACK_BUFFER_BINDING"}, {0x88EF, "GL_PIXEL_UNPACK_BUFFER_BINDING"}};
    for (const auto& binding : kBindings) {
        int value = 0;
        getIntegerv(binding.name, &value);
        if (value != 0) {
            text += (text.empty() ? "" : "; ") + std::string(binding.text) + " is " + std::to_string(value) +
                    ", the host binds nothing";
        }
    }
    const std::string errors = drainErrors();
    if (!errors.empty()) text += (text.empty() ? "" : "; ") + errors + " pending in it";
    return text;
}

int GLInspector::largestFrameSide() {
    static const GetIntegerv getIntegerv = glFunction<GetIntegerv>("glGetIntegerv");
    int texture = 0, renderbuffer = 0;
    getIntegerv(kMaxTextureSize, &texture);
    getIntegerv(kMaxRenderbufferSize, &renderbuffer);
    return std::min(texture, renderbuffer);
}

void GLInspector::watchCalls() {
    CallWatch& w = watch();
    w.hostContext = mHost.glContext() ? mHost.glContext()->context() : EGL_NO_CONTEXT;
    if (!w.installed) {
        w.installed = true;
        glbinding::setBeforeCallback(beforeCall);
        // A context's callback mask lives with that context's functions; each one the effect
        // selects gets the watch when it is selected.
        glbinding::Binding::addContextSwitchCallback(
            [](glbinding::ContextHandle) { glbinding::setCallbackMask(glbinding::CallbackMask::Before); });
    }
}

void GLInspector::setActivity(const std::string& activity) {
    CallWatch& w = watch();
    std::lock_guard<std::mutex> lock(w.mutex);
    w.activity = activity;
}

long GLInspector::checkedCalls() const {
    return watch().calls;
}

long GLInspector::offendingCalls() const {
    return watch().offences;
}

std::string GLInspector::firstOffence() const {
    CallWatch& w = watch();
    std::lock_guard<std::mutex> lock(w.mutex);
    return w.firstOffence;
}

std::string GLInspector::censusChange(const Census& before, const Census& after) {
    std::string text;
    const struct {
        const char* name;
        int Census::*count;
    } kinds[] = {{"textures", &Census::textures},
                 {"buffers", &Census::buffers},
                 {"renderbuffers", &Census::renderbuffers},
                 {"framebuffers", &Census::framebuffers},
                 {"vertex arrays", &Census::vertexArrays},
                 {"programs", &Census::programs},
                 {"shaders", &Census::shaders}};
    for (const auto& kind : kinds) {
        if (before.*kind.count != after.*kind.count) {
            text += (text.empty() ? "" : ", ") + std::string(kind.name) + " " +
                    std::to_string(before.*kind.count) + " -> " + std::to_string(after.*kind.count);
        }
    }
    return text;
}

}  // namespace fxhost
