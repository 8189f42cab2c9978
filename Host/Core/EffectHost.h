// The stand-in host: loads a bundle and drives it as the real host does,
// through EntryPointFunc only. It owns PF_InData/PF_OutData, the parameter
// table registered by add_param, the suites, the worlds handed out, and a GL
// context of its own that is current whenever the effect is called (on the
// thread that made the host; a caller on another thread brings its own).
// After every command it checks its own invariants (suites balanced, guard
// bytes intact, its GL context current again) and records what was broken.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <string>
#include <vector>

#include "Bundle.h"
#include "FaultPlan.h"
#include "HostGLContext.h"
#include "HostSuites.h"
#include "HostWorld.h"
#include "ParameterCurve.h"
#include "PFSmartRender.h"
#include "PFTypes.h"
#include "Renderer.h"

namespace fxhost {

struct HostOptions {
    bool hostGLContext = true;  // keep a context of the host's own current around every command
    // Where the bundle's standard output goes while it runs a command: a file descriptor
    // standing in for 1 (2, or one open on /dev/null), or -1 to leave it as it is.
    int bundleOutput = -1;
    // Which of the effect's renderers to ask for in set-up. With the CPU renderer no GL context is
    // made, the host's own included. Under Auto a bundle without a CPU renderer gets GL; under CPU
    // its set-up throws std::runtime_error naming the bundle.
    Renderer renderer = Renderer::GL;
};

class EffectHost {
public:
    explicit EffectHost(const std::string& bundlePath, HostOptions options = HostOptions());
    ~EffectHost();  // sends PF_Cmd_GLOBAL_SETDOWN if set-up was sent and set-down was not

    EffectHost(const EffectHost&) = delete;
    EffectHost& operator=(const EffectHost&) = delete;

    // Commands, each returning the effect's code.
    PF_Err send(PF_Cmd cmd, void* extra = nullptr);
    PF_Err about();
    PF_Err globalSetup();
    PF_Err paramsSetup();
    PF_Err globalSetdown();
    // Pre-render asking for `request` of the input layer; `output` holds what the host set before the call.
    // The worlds are lent to the effect for the one command only.
    PF_Err smartPreRender(const PF_RenderRequest& request, PF_PreRenderOutput& output,
                          HostWorld* input = nullptr);
    PF_Err smartRender(HostWorld* input, HostWorld* output);
    // Pre-render for the whole input, then render: the host's order for one frame.
    PF_Err renderFrame(HostWorld& input, HostWorld& output);

    // Parameters: index 0 is the input layer; 1.. are those the effect registered.
    const std::vector<PF_ParamDef>& params() const { return mParams; }
    // A constant value, or a curve over frames: checkout_param answers the value at the time
    // the effect asks for (time / time_step is the frame, in the host's time scale).
    void setParamValue(int index, double value);
    void setParamCurve(int index, const ParameterCurve& curve);
    // What checkout_param answers for a slider at a frame.
    double paramValueAt(int index, double frame) const;
    // The index of a registered parameter by name, case-insensitive, or -1.
    int paramIndex(const std::string& name) const;

    PF_InData& inData() { return mInData; }
    PF_OutData& outData() { return mOutData; }
    FaultPlan& faults() { return mFaults; }
    HostSuites& suites() { return *mSuites; }
    HostGLContext* glContext() { return mGL.get(); }
    // The renderer that serves the effect since set-up (GL before it, and for a bundle that never
    // asked), and why, in a few words.
    Renderer renderer() const { return mServed; }
    const std::string& rendererReason() const { return mServedWhy; }
    const Bundle& bundle() const { return mBundle; }
    // The effect's name: the name it sets in PF_OutData on about, or else the last line of its
    // about text. Sends PF_Cmd_ABOUT the first time; throws std::runtime_error if that fails.
    std::string effectName();

    // What the checkout in pre-render answers; by default the input layer's bounds clipped to the request.
    std::optional<PF_CheckoutResult> checkoutResult;
    // The request the effect passed to checkout_layer last.
    const PF_RenderRequest& lastCheckoutRequest() const { return mLastRequest; }
    int checkinLayerPixelsCalls() const { return mCheckinLayerPixels; }

    // Broken invariants seen after commands, in order; empty when all held.
    const std::vector<std::string>& violations() const { return mViolations; }
    void clearViolations() { mViolations.clear(); }

    // The time of the frame to come; the parameters' values in the table follow it.
    void setTime(A_long currentTime);

    // Called at the start of the parameter, layer and output callbacks, on the effect's thread and
    // with whatever GL context the effect has current: a place to look at the effect's GL state.
    std::function<void()> callbackProbe;

private:
    friend struct HostCallbacks;
    static EffectHost* fromRef(PF_ProgPtr effect_ref);
    void checkAfter(PF_Cmd cmd, bool ownThread);
    int routeBundleOutput();
    void restoreOutput(int saved);
    void probe();
    double frameAt(A_long time, A_u_long scale) const;

    A_Err chooseRenderer(A_long offered, A_long* chosen);
    void settleRenderer();

    Bundle mBundle;
    HostOptions mOptions;
    Renderer mWanted = Renderer::GL;  // the request with Auto resolved
    Renderer mServed = Renderer::GL;
    std::string mServedWhy;
    bool mRendererAsked = false;
    FaultPlan mFaults;
    std::unique_ptr<HostSuites> mSuites;
    std::unique_ptr<HostGLContext> mGL;
    std::thread::id mThread;
    PF_UtilCallbacks mUtils;
    PF_InData mInData;
    PF_OutData mOutData;
    std::vector<PF_ParamDef> mParams;
    std::vector<PF_ParamDef*> mParamPointers;
    std::map<int, ParameterCurve> mCurves;  // by parameter index; the rest hold their value
    std::string mEffectName;
    HostWorld* mInput = nullptr;
    HostWorld* mOutput = nullptr;
    PF_RenderRequest mLastRequest;
    int mCheckinLayerPixels = 0;
    bool mSetUp = false;
    std::vector<std::string> mViolations;
};

// The host's name for a PF_Err, such as "PF_Err_BAD_CALLBACK_PARAM", or the number.
std::string errorName(PF_Err err);

}  // namespace fxhost
