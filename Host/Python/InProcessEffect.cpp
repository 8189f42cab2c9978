#include "InProcessEffect.h"

#include <climits>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>

#include "BundleLocator.h"
#include "CallerGLState.h"
#include "QuietStdout.h"

#ifndef FXHOST_PYTHON_BUNDLE_CANDIDATES
#define FXHOST_PYTHON_BUNDLE_CANDIDATES "../../fxhost/HueAndSaturation.plugin:../bin/HueAndSaturation.plugin"
#endif

namespace fxhost {

namespace {

// The set-ups this thread has rendered in: the effect makes a GL context (and reports its
// driver on standard output) the first time it renders on a thread.
thread_local std::set<unsigned long> tRenderedIn;
unsigned long gSetUps = 0;

// The same words as `fxhost render`: an effect's error code, then the host rule it broke.
void require(PF_Err err, EffectHost& host, const char* command) {
    if (err) {
        std::string message = std::string(command) + " failed with " + errorName(err);
        if (host.outData().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE) {
            message += ": " + std::string(host.outData().return_msg);
        }
        throw EffectError(message);
    }
    if (!host.violations().empty()) throw EffectError("host fault: " + host.violations().front());
}

std::map<std::string, std::weak_ptr<InProcessEffect>>& openEffects() {
    static auto* effects = new std::map<std::string, std::weak_ptr<InProcessEffect>>;
    return *effects;
}

}  // namespace

std::mutex& InProcessEffect::processLock() {
    // Never destroyed: an effect set down late in the interpreter's exit still finds it.
    static auto* lock = new std::mutex;
    return *lock;
}

std::string InProcessEffect::defaultBundle() {
    try {
        const std::string found = BundleLocator(FXHOST_PYTHON_BUNDLE_CANDIDATES).find();
        char* real =
            realpath(found.c_str(), nullptr);  // "/usr/lib/fxhost/X", not ".../dist-packages/../../fxhost/X"
        const std::string path = real ? real : found;
        std::free(real);
        return path;
    } catch (const std::exception& e) {
        throw BundleError(e.what());
    }
}

// The bundle keeps its renderer in its own globals, set in its global set-up: one set-up of a
// file serves the whole process, and a request for the other renderer while it lives is refused.
std::shared_ptr<InProcessEffect> InProcessEffect::open(const std::string& bundlePath, Renderer renderer) {
    char* real = realpath(bundlePath.c_str(), nullptr);
    const std::string key = real ? real : bundlePath;
    std::free(real);
    std::lock_guard<std::mutex> hold(processLock());
    std::weak_ptr<InProcessEffect>& slot = openEffects()[key];
    std::shared_ptr<InProcessEffect> effect = slot.lock();
    if (!effect) {
        effect.reset(new InProcessEffect(bundlePath, renderer));
        slot = effect;
    } else if (renderer != Renderer::Auto && renderer != effect->renderer()) {
        throw BundleError("effect bundle '" + bundlePath + "' is set up in this process with its " +
                          rendererName(effect->renderer()) + " renderer, and a bundle serves one renderer " +
                          "per process: ask for renderer=\"" + rendererName(effect->renderer()) +
                          "\" or \"auto\", or let every Effect of it go first");
    }
    return effect;
}

// Called with the process lock held (from open()).
InProcessEffect::InProcessEffect(const std::string& path, Renderer renderer)
    : mPath(path), mSerial(++gSetUps) {
    CallerGLState caller;
    QuietStdout quiet;  // the bundle's driver report is not the program's output
    HostOptions options;
    options.hostGLContext = false;  // the caller's context, if any, is the host's
    options.renderer = renderer;
    try {
        mHost = std::make_unique<EffectHost>(path, options);
        require(mHost->globalSetup(), *mHost, "PF_Cmd_GLOBAL_SETUP");
        require(mHost->paramsSetup(), *mHost, "PF_Cmd_PARAMS_SETUP");
        mName = mHost->effectName();
    } catch (const std::exception& e) {
        mHost.reset();
        const std::string what = e.what();
        throw BundleError(what.find(path) != std::string::npos ? what
                                                               : "effect bundle '" + path + "': " + what);
    }
}

InProcessEffect::~InProcessEffect() {
    std::lock_guard<std::mutex> hold(processLock());
    CallerGLState caller;
    mInput.reset();
    mOutput.reset();
    mHost.reset();
}

ParameterSettings::Curves InProcessEffect::resolve(const ParameterSettings& settings) {
    std::lock_guard<std::mutex> hold(processLock());
    return settings.resolve(*mHost);
}

void InProcessEffect::render(const FrameView& in, const FrameView& out,
                             const ParameterSettings::Curves& curves, int frame) {
    std::lock_guard<std::mutex> hold(processLock());
    // The CPU renderer touches no GL, so the caller's EGL state need not even be looked at.
    std::optional<CallerGLState> caller;
    if (mHost->renderer() == Renderer::GL) caller.emplace();
    std::unique_ptr<QuietStdout> quiet;
    if (tRenderedIn.insert(mSerial).second) quiet = std::make_unique<QuietStdout>();

    HostWorld::ensure(mInput, in.width(), in.height());
    in.readInto(*mInput);
    const std::vector<PF_ParamDef>& params = mHost->params();
    for (size_t i = 1; i < params.size(); ++i) {
        if (params[i].param_type == PF_Param_FLOAT_SLIDER)
            mHost->setParamValue(static_cast<int>(i), params[i].u.fs_d.dephault);
    }
    for (const auto& curve : curves) mHost->setParamCurve(curve.first, curve.second);
    mHost->setTime(frame * static_cast<A_long>(mHost->inData().time_step));
    mHost->clearViolations();

    PF_RenderRequest request = PF_RenderRequest();
    request.rect = PF_LRect{0, 0, in.width(), in.height()};
    request.channel_mask = PF_ChannelMask_ARGB;
    PF_PreRenderOutput layout = PF_PreRenderOutput();
    require(mHost->smartPreRender(request, layout, mInput.get()), *mHost, "PF_Cmd_SMART_PRE_RENDER");
    if (layout.result_rect.right - layout.result_rect.left != out.width() ||
        layout.result_rect.bottom - layout.result_rect.top != out.height()) {
        throw EffectError("the effect asked for an output of another size than its input");
    }
    HostWorld::ensure(mOutput, out.width(), out.height());
    require(mHost->smartRender(mInput.get(), mOutput.get()), *mHost, "PF_Cmd_SMART_RENDER");
    out.writeFrom(*mOutput);
}

}  // namespace fxhost
