// The effect's GL life seen from outside the bundle: the contexts its GL calls run on, the
// objects a frame or a set-down leaves in its share group, and what a command that fails
// part-way hands back to the host and to the next frame.
#include <EGL/egl.h>

#include <functional>
#include <new>
#include <stdexcept>

#include "EGLPlatform.h"
#include "GLCallSpy.h"
#include "HostFixture.h"
#include "KnownFrames.h"
#include "ObjectCensus.h"

using fxhost::Callback;
using fxhost::Depth;
using fxhost::HostWorld;
using Ostrivane::GaussianBlur::EGLPlatform;
using Ostrivane::GaussianBlur::ObjectCensus;

namespace {

class Lifecycle : public HostFixture {
protected:
    // A context in the effect's share group, made at the first callback that finds one of the
    // effect's contexts current; the group's objects are counted from it between commands.
    void SetUp() override {
        HostFixture::SetUp();
        known::fillPattern(input);
        host->callbackProbe = [this] {
            const EGLContext current = eglGetCurrentContext();
            if (watch == EGL_NO_CONTEXT && current != EGL_NO_CONTEXT &&
                current != host->glContext()->context())
                watch = EGLPlatform::createContext(current);
        };
    }
    void TearDown() override {
        GLCallSpy::stop();
        HostFixture::TearDown();
        if (watch != EGL_NO_CONTEXT) EGLPlatform::destroyContext(watch);
    }

    void setUpTurned() {
        setUpEffect();
        setParams(known::kTurned.hue, known::kTurned.saturation);
    }

    ObjectCensus census() {
        EGLPlatform::makeCurrent(watch);
        const ObjectCensus counted = ObjectCensus::take(1024);
        host->glContext()->makeCurrent();
        return counted;
    }

    void expectGoodFrame() {
        const float mark[4] = {1, 2, 3, 4};
        output.fill(mark);
        ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
        EXPECT_EQ(known::checkPattern(output, known::kTurned), "");
    }

    // What the host must find after any command: its context current with no surfaces, its API bound.
    void expectHostStateBack() {
        EXPECT_EQ(eglQueryAPI(), static_cast<EGLenum>(EGL_OPENGL_API));
        EXPECT_TRUE(host->glContext()->isCurrent());
        EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), EGL_NO_SURFACE);
        EXPECT_EQ(eglGetCurrentSurface(EGL_READ), EGL_NO_SURFACE);
        EXPECT_TRUE(host->violations().empty()) << host->violations().front();
    }

    EGLContext watch = EGL_NO_CONTEXT;
    HostWorld input{7, 5, Depth::Eight};
    HostWorld output{7, 5, Depth::Eight};
};

// Frames that fail part-way leave no object or level behind; set-down deletes everything, and no GL
// call from set-up to set-down is made on the host's context, on none or on a destroyed one.
TEST_F(Lifecycle, FailedFramesLeaveNothingAndSetDownDeletesEverythingWithItsOwnContexts) {
    GLCallSpy::start();
    GLCallSpy::forbid({host->glContext()->context()});
    setUpTurned();
    expectGoodFrame();
    const ObjectCensus settled = census();
    ASSERT_GT(settled.total(), 0);

    HostWorld deep(7, 5, Depth::Sixteen);  // an 8-bit frame gets no 8-bit pixels from it: the upload fails
    known::fillPattern(deep);
    const struct {
        fxhost::FaultPlan plan;
        HostWorld& from;
    } failures[] = {
        {{{"AEGP Layer Suite"}, {}, {}, false}, input},  // after the level is pushed
        {{{}, {}, {}, false}, deep},
        {{{"PF Handle Suite"}, {}, {}, false}, input},  // after the level is resolved
        {{{}, {}, {{Callback::NewHandle}}, false}, input},
    };
    for (int round = 0; round < 3; ++round) {
        for (const auto& failure : failures) {
            host->faults() = failure.plan;
            EXPECT_EQ(host->renderFrame(failure.from, output), PF_Err_BAD_CALLBACK_PARAM);
            host->faults().clear();
            expectGoodFrame();
        }
    }
    EXPECT_EQ(census(), settled) << census().describe() << " against " << settled.describe();

    ASSERT_EQ(host->globalSetdown(), PF_Err_NONE);
    EXPECT_TRUE(GLCallSpy::strays().empty()) << *GLCallSpy::strays().begin();
    EXPECT_GT(GLCallSpy::calls(), 0);
    // Frame buffers and vertex arrays end with the contexts that made them.
    const ObjectCensus left = census();
    EXPECT_EQ(left.total() - left.framebuffers - left.vertexArrays, 0) << left.describe();
    expectHostStateBack();
}

// A host that had bound another client API with its context current gets both back. The stand-in
// host binds OpenGL before every command it sends, so these go to the entry point directly.
TEST_F(Lifecycle, TheHostsOwnClientAPIIsBoundAgainAfterSetUpAndSetDown) {
    auto sendWithOpenGLES = [&](PF_Cmd cmd) {
        host->glContext()->makeCurrent();
        eglBindAPI(EGL_OPENGL_ES_API);
        const PF_Err err =
            host->bundle().entryPoint()(cmd, &host->inData(), &host->outData(), nullptr, nullptr, nullptr);
        const EGLenum api = eglQueryAPI();
        eglBindAPI(EGL_OPENGL_API);
        EXPECT_EQ(api, static_cast<EGLenum>(EGL_OPENGL_ES_API));
        EXPECT_TRUE(host->glContext()->isCurrent());
        return err;
    };
    EXPECT_EQ(sendWithOpenGLES(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    setUpTurned();
    expectGoodFrame();
    EXPECT_EQ(sendWithOpenGLES(PF_Cmd_GLOBAL_SETDOWN), PF_Err_NONE);
}

// What the host's suite acquisition, checkout_layer and add_param throw when the test arms them.
std::function<void()> gThrow;

// Each kind thrown inside each command; after each failed set-up or set-down the host has its state
// back, a failed set-up leaves no context of its own, and a set-down that completes lets the next
// set-up build the pass again (the loop's next round).
TEST_F(Lifecycle, EveryCommandTurnsEveryExceptionIntoACode) {
    struct Kind {
        const char* name;
        std::function<void()> raise;
        PF_Err code;
    } kinds[] = {
        {"runtime_error", [] { throw std::runtime_error("host"); }, PF_Err_INTERNAL_STRUCT_DAMAGED},
        {"double", [] { throw 7.5; }, PF_Err_INTERNAL_STRUCT_DAMAGED},
        {"bad_alloc", [] { throw std::bad_alloc(); }, PF_Err_OUT_OF_MEMORY},
        {"int", [] { throw 13; }, PF_Err_BAD_CALLBACK_PARAM},
    };
    SPBasicSuite throwingBasic = *host->inData().pica_basicP;
    throwingBasic.AcquireSuite = [](const char*, int32_t, const void**) -> SPErr {
        gThrow();
        return kSPNoError;
    };
    throwingBasic.ReleaseSuite = [](const char*, int32_t) -> SPErr { return kSPNoError; };
    auto throwingCheckout = [](PF_ProgPtr, PF_ParamIndex, A_long, const PF_RenderRequest*, A_long, A_long,
                               A_u_long, PF_CheckoutResult*) -> PF_Err {
        gThrow();
        return PF_Err_NONE;
    };
    PF_PreRenderCallbacks preRenderCallbacks{throwingCheckout, nullptr};

    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        gThrow = kind.raise;
        SPBasicSuite* basic = host->inData().pica_basicP;
        host->inData().pica_basicP = &throwingBasic;
        EXPECT_EQ(host->about(), kind.code);
        host->inData().pica_basicP = basic;

        // The first GL call of set-up is made on the context it has just built; that context must go.
        GLCallSpy::throwAt(1, kind.raise);
        EXPECT_EQ(host->globalSetup(), kind.code);
        expectHostStateBack();
        ASSERT_EQ(GLCallSpy::contexts().size(), 1u);
        EGLint unused = 0;
        EXPECT_EQ(eglQueryContext(host->glContext()->display(), *GLCallSpy::contexts().begin(), EGL_CONFIG_ID,
                                  &unused),
                  static_cast<EGLBoolean>(EGL_FALSE));
        setUpTurned();

        auto addParam = host->inData().inter.add_param;
        host->inData().inter.add_param = [](PF_ProgPtr, PF_ParamIndex, PF_ParamDefPtr) -> PF_Err {
            gThrow();
            return PF_Err_NONE;
        };
        EXPECT_EQ(host->paramsSetup(), kind.code);
        host->inData().inter.add_param = addParam;
        setUpTurned();

        PF_PreRenderInput preInput = PF_PreRenderInput();
        PF_PreRenderOutput preOutput = PF_PreRenderOutput();
        PF_PreRenderExtra preExtra{&preInput, &preOutput, &preRenderCallbacks};
        EXPECT_EQ(host->send(PF_Cmd_SMART_PRE_RENDER, &preExtra), kind.code);

        GLCallSpy::throwAt(40, kind.raise);  // inside the frame's drawing
        EXPECT_EQ(host->smartRender(&input, &output), kind.code);
        GLCallSpy::stop();
        expectGoodFrame();

        GLCallSpy::throwAt(1, kind.raise);
        EXPECT_EQ(host->globalSetdown(), kind.code);
        expectHostStateBack();
        ASSERT_EQ(host->globalSetdown(), PF_Err_NONE);
    }
    expectGoodFrame();  // and without a set-up at all
}

}  // namespace
