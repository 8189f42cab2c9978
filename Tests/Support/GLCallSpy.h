// Watches every GL call made through glbinding in this process, the bundle's too (both use the one
// shared glbinding library): notes the EGL context current at each call, and can make the Nth call
// from now throw, to fail a command part-way through its GL work.
#pragma once

#include <EGL/egl.h>

#include <functional>
#include <set>
#include <string>

#include <glbinding/AbstractFunction.h>
#include <glbinding/Binding.h>
#include <glbinding/CallbackMask.h>
#include <glbinding/callbacks.h>

class GLCallSpy {
public:
    /// Starts a record: contexts seen and calls counted from here on; no throw armed, none forbidden.
    static void start() {
        install();
        state() = State();
        state().recording = true;
    }
    static void stop() { state().recording = false; }

    /// The `n`th call from now (1 is the next) runs `thrower` instead of reaching GL.
    static void throwAt(int n, std::function<void()> thrower) {
        start();
        state().throwAt = n;
        state().thrower = std::move(thrower);
    }

    static const std::set<EGLContext>& contexts() { return state().contexts; }
    /// Names of the calls made with no context, a destroyed one or a forbidden one current.
    static const std::set<std::string>& strays() { return state().names; }
    static void forbid(std::set<EGLContext> contexts) { state().forbidden = std::move(contexts); }
    static int calls() { return state().calls; }

private:
    struct State {
        bool recording = false;
        int calls = 0;
        int throwAt = 0;
        std::function<void()> thrower;
        std::set<EGLContext> contexts;
        std::set<EGLContext> forbidden;
        std::set<std::string> names;
    };
    static State& state() {
        static State s;
        return s;
    }

    // glbinding keeps callback masks per context, so every context gets the mask as it is selected.
    static void install() {
        static bool installed = false;
        if (installed) return;
        installed = true;
        glbinding::Binding::addContextSwitchCallback(
            [](glbinding::ContextHandle) { glbinding::setCallbackMask(glbinding::CallbackMask::Before); });
        glbinding::setBeforeCallback([](const glbinding::FunctionCall& call) {
            State& s = state();
            if (!s.recording) return;
            ++s.calls;
            const EGLContext current = eglGetCurrentContext();
            s.contexts.insert(current);
            // EGL keeps a destroyed context current until it is released, and still names it;
            // only a query tells that it is gone, and a call made on it is a stray too.
            EGLint unused = 0;
            const bool alive =
                current != EGL_NO_CONTEXT &&
                eglQueryContext(eglGetCurrentDisplay(), current, EGL_CONFIG_ID, &unused) == EGL_TRUE;
            if (!alive || s.forbidden.count(current)) s.names.insert(call.function->name());
            if (s.calls == s.throwAt) {
                s.recording = false;
                s.thrower();
            }
        });
    }
};
