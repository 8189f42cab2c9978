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
using GenObjects = void (*)(int, unsigned*);
using BindObject = void (*)(unsigned, unsigned);
using IsObject = unsigned char (*)(unsigned);
using TexImage2D = void (*)(unsigned, int, int, int, int, int, unsigned, unsigned, const void*);
using GetTexImage = void (*)(unsigned, int, unsigned, unsigned, void*);
using BufferData = void (*)(unsigned, long, const void*, unsigned);
using GetBufferSubData = void (*)(unsigned, long, long, void*);
using RenderbufferStorage = void (*)(unsigned, unsigned, int, int);
using GetRenderbufferParameteriv = void (*)(unsigned, unsigned, int*);

constexpr unsigned kTexture2D = 0x0DE1, kRGBA = 0x1908, kRGBA8 = 0x8058, kUnsignedByte = 0x1401,
                   kArrayBuffer = 0x8892, kStaticDraw = 0x88E4, kRenderbuffer = 0x8D41,
                   kRenderbufferWidth = 0x8D42;
// The host's own objects: a 4x4 texture and a 64-byte buffer of a known pattern, an 8-wide renderbuffer.
constexpr int kHostTextureSide = 4, kHostBufferBytes = 64, kHostRenderbufferWidth = 8;

unsigned char hostByte(int i) {
    return static_cast<unsigned char>(i * 37 + 11);
}

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
    // EGL keeps a destroyed context current, and names it, until it is released; only a query
    // about it tells that it is gone.
    EGLint unused = 0;
    const bool destroyed = current != EGL_NO_CONTEXT &&
                           eglQueryContext(eglGetCurrentDisplay(), current, EGL_CONFIG_ID, &unused) != EGL_TRUE;
    if (current != EGL_NO_CONTEXT && current != w.hostContext && !destroyed) return;
    if (w.offences++ == 0) {
        std::lock_guard<std::mutex> lock(w.mutex);
        w.firstOffence = std::string(call.function->name()) +
                         (current == EGL_NO_CONTEXT ? " with no context current"
                          : destroyed               ? " with a context current that had been destroyed"
                                                    : " with the host's context current") +
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

void GLInspector::makeHostObjects() {
    HostGLContext* hostContext = mHost.glContext();
    if (!hostContext) return;
    hostContext->makeCurrent();
    unsigned char pixels[kHostTextureSide * kHostTextureSide * 4], bytes[kHostBufferBytes];
    for (int i = 0; i < static_cast<int>(sizeof pixels); ++i) pixels[i] = hostByte(i);
    for (int i = 0; i < kHostBufferBytes; ++i) bytes[i] = hostByte(i + 1);
    glFunction<GenObjects>("glGenTextures")(1, &mHostTexture);
    glFunction<BindObject>("glBindTexture")(kTexture2D, mHostTexture);
    glFunction<TexImage2D>("glTexImage2D")(kTexture2D, 0, static_cast<int>(kRGBA8), kHostTextureSide,
                                           kHostTextureSide, 0, kRGBA, kUnsignedByte, pixels);
    glFunction<BindObject>("glBindTexture")(kTexture2D, 0);
    glFunction<GenObjects>("glGenBuffers")(1, &mHostBuffer);
    glFunction<BindObject>("glBindBuffer")(kArrayBuffer, mHostBuffer);
    glFunction<BufferData>("glBufferData")(kArrayBuffer, kHostBufferBytes, bytes, kStaticDraw);
    glFunction<BindObject>("glBindBuffer")(kArrayBuffer, 0);
    glFunction<GenObjects>("glGenRenderbuffers")(1, &mHostRenderbuffer);
    glFunction<BindObject>("glBindRenderbuffer")(kRenderbuffer, mHostRenderbuffer);
    glFunction<RenderbufferStorage>("glRenderbufferStorage")(kRenderbuffer, kRGBA8, kHostRenderbufferWidth, 2);
    glFunction<BindObject>("glBindRenderbuffer")(kRenderbuffer, 0);
}

std::string GLInspector::hostContextDamage() {
    HostGLContext* hostContext = mHost.glContext();
    if (!hostContext) return "";
    hostContext->makeCurrent();
    static const GetIntegerv getIntegerv = glFunction<GetIntegerv>("glGetIntegerv");
    std::string text;
    auto add = [&text](const std::string& what) { text += (text.empty() ? "" : "; ") + what; };
    Census own;
    if (mHostTexture != 0) {
        own.textures = own.buffers = own.renderbuffers = 1;
        if (!glFunction<IsObject>("glIsTexture")(mHostTexture)) {
            add("the host's texture " + std::to_string(mHostTexture) + " was deleted");
        } else {
            unsigned char pixels[kHostTextureSide * kHostTextureSide * 4] = {};
            glFunction<BindObject>("glBindTexture")(kTexture2D, mHostTexture);
            glFunction<GetTexImage>("glGetTexImage")(kTexture2D, 0, kRGBA, kUnsignedByte, pixels);
            glFunction<BindObject>("glBindTexture")(kTexture2D, 0);
            for (int i = 0; i < static_cast<int>(sizeof pixels); ++i) {
                if (pixels[i] != hostByte(i)) {
                    add("the host's texture " + std::to_string(mHostTexture) + " was changed");
                    break;
                }
            }
        }
        if (!glFunction<IsObject>("glIsBuffer")(mHostBuffer)) {
            add("the host's buffer " + std::to_string(mHostBuffer) + " was deleted");
        } else {
            unsigned char bytes[kHostBufferBytes] = {};
            glFunction<BindObject>("glBindBuffer")(kArrayBuffer, mHostBuffer);
            glFunction<GetBufferSubData>("glGetBufferSubData")(kArrayBuffer, 0, kHostBufferBytes, bytes);
            glFunction<BindObject>("glBindBuffer")(kArrayBuffer, 0);
            for (int i = 0; i < kHostBufferBytes; ++i) {
                if (bytes[i] != hostByte(i + 1)) {
                    add("the host's buffer " + std::to_string(mHostBuffer) + " was changed");
                    break;
                }
            }
        }
        int width = 0;
        if (glFunction<IsObject>("glIsRenderbuffer")(mHostRenderbuffer)) {
            glFunction<BindObject>("glBindRenderbuffer")(kRenderbuffer, mHostRenderbuffer);
            glFunction<GetRenderbufferParameteriv>("glGetRenderbufferParameteriv")(kRenderbuffer,
                                                                                  kRenderbufferWidth, &width);
            glFunction<BindObject>("glBindRenderbuffer")(kRenderbuffer, 0);
        }
        if (width != kHostRenderbufferWidth)
            add("the host's renderbuffer " + std::to_string(mHostRenderbuffer) + " was deleted or changed");
        // Made again once the damage is told, so that each later command is judged on its own.
        if (!text.empty()) {
            using DeleteObjects = void (*)(int, const unsigned*);
            glFunction<DeleteObjects>("glDeleteTextures")(1, &mHostTexture);
            glFunction<DeleteObjects>("glDeleteBuffers")(1, &mHostBuffer);
            glFunction<DeleteObjects>("glDeleteRenderbuffers")(1, &mHostRenderbuffer);
            makeHostObjects();
        }
    }
    const Census census = Census::take(kCensusNames);
    if (!(census == own)) add("its objects are not the host's own (" + census.describe() + ", the host made " + own.describe() + ")");
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
