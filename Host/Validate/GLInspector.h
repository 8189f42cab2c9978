// The host's view of GL around an effect, from outside it. GL is called through EGL's own entry
// points, never through the effect's bindings. At the host's callbacks it notes which contexts of
// the effect are current and, once a frame, counts the live objects of their share group. After
// a command it reads the GL errors left pending in the host's context and the effect's contexts
// it saw (reading clears them), and whether the host's context still holds its own objects, as it
// made them, and no others, and binds none. For an effect that calls GL through the shared glbinding
// library it can also check every call: a call made with the host's context current, with none, or
// with a context already destroyed, is counted as an offence.
#pragma once

#include <EGL/egl.h>

#include <optional>
#include <set>
#include <string>

#include "EffectHost.h"
#include "ObjectCensus.h"

namespace fxhost {

class GLInspector {
public:
    using Census = Ostrivane::GaussianBlur::ObjectCensus;

    // Sets the host's callback probe; the census is taken only when `countObjects`.
    GLInspector(EffectHost& host, bool countObjects);
    ~GLInspector();

    GLInspector(const GLInspector&) = delete;
    GLInspector& operator=(const GLInspector&) = delete;

    // Forgets the census, so the next callback with a context of the effect's current takes one.
    void startFrame() { mCensus.reset(); }
    const std::optional<Census>& frameCensus() const { return mCensus; }
    const std::set<EGLContext>& effectContexts() const { return mContexts; }

    // Errors pending in the host's context and in every context of the effect's seen so far, as
    // "GL_INVALID_ENUM in the host's context"; empty when none. The host's context is current after.
    std::string pendingErrors();
    // Makes a texture, a buffer and a renderbuffer of the host's own, with known contents, in the
    // host's context, as a host has before it sets an effect up. The host's context is current after.
    void makeHostObjects();
    // Objects other than the host's own, the host's own missing or changed, and bindings in the
    // host's context (the host binds none); empty when none.
    std::string hostContextDamage();
    // GL_MAX_TEXTURE_SIZE and GL_MAX_RENDERBUFFER_SIZE, the smaller, in the current context.
    static int largestFrameSide();

    // Checks every GL call made through the shared glbinding library from now on, in every
    // context the effect selects from now on, against the host's context. An effect that does not
    // call GL through that library is not seen: checkedCalls() stays 0.
    void watchCalls();
    // Sets what the offence records say the host was doing.
    static void setActivity(const std::string& activity);
    long checkedCalls() const;
    long offendingCalls() const;
    // The first offence: the function, the context state and the activity.
    std::string firstOffence() const;
    // Whether a census changed between two counts, as "textures 1 -> 3, framebuffers 1 -> 2".
    static std::string censusChange(const Census& before, const Census& after);

private:
    void probe();

    EffectHost& mHost;
    bool mCountObjects;
    std::optional<Census> mCensus;
    std::set<EGLContext> mContexts;
    // The host's own objects' names; 0 before makeHostObjects().
    unsigned mHostTexture = 0, mHostBuffer = 0, mHostRenderbuffer = 0;
};

}  // namespace fxhost
