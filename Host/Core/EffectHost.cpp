#include "EffectHost.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <unistd.h>

#include "OstrivaneRendererSuite.h"

namespace fxhost {

namespace {

constexpr A_long kTimeScale = 24;

PF_LRect intersect(const PF_LRect& a, const PF_LRect& b) {
    PF_LRect r{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
               std::min(a.bottom, b.bottom)};
    if (r.right < r.left) r.right = r.left;
    if (r.bottom < r.top) r.bottom = r.top;
    return r;
}

}  // namespace

// The host's callbacks: plain functions that find their host through effect_ref.
struct HostCallbacks {
    static PF_Err checkoutParam(PF_ProgPtr ref, PF_ParamIndex index, A_long what_time, A_long,
                                A_u_long time_scale, PF_ParamDef* param) {
        EffectHost* host = EffectHost::fromRef(ref);
        host->probe();
        if (const PF_Err err = host->mSuites->injected(Callback::CheckoutParam, index)) return err;
        if (!param || index < 0 || index >= static_cast<PF_ParamIndex>(host->mParams.size())) {
            return PF_Err_INVALID_INDEX;
        }
        *param = host->mParams[index];
        const auto curve = host->mCurves.find(index);
        if (curve != host->mCurves.end())
            param->u.fs_d.value = curve->second.at(host->frameAt(what_time, time_scale));
        return PF_Err_NONE;
    }

    static PF_Err checkinParam(PF_ProgPtr ref, PF_ParamDef*) {
        EffectHost::fromRef(ref)->probe();
        return EffectHost::fromRef(ref)->mSuites->injected(Callback::CheckinParam);
    }

    static PF_Err addParam(PF_ProgPtr ref, PF_ParamIndex, PF_ParamDefPtr def) {
        EffectHost* host = EffectHost::fromRef(ref);
        host->probe();
        if (const PF_Err err = host->mSuites->injected(Callback::AddParam)) return err;
        if (!def) return PF_Err_BAD_CALLBACK_PARAM;
        host->mParams.push_back(*def);
        return PF_Err_NONE;
    }

    static PF_Err abort(PF_ProgPtr) { return PF_Err_NONE; }
    static PF_Err progress(PF_ProgPtr, A_long, A_long) { return PF_Err_NONE; }

    static PF_Err checkoutLayer(PF_ProgPtr ref, PF_ParamIndex index, A_long, const PF_RenderRequest* req,
                                A_long, A_long, A_u_long, PF_CheckoutResult* result) {
        EffectHost* host = EffectHost::fromRef(ref);
        if (const PF_Err err = host->mSuites->injected(Callback::CheckoutLayer)) return err;
        if (index != 0 || !req || !result) return PF_Err_BAD_CALLBACK_PARAM;
        host->mLastRequest = *req;
        if (host->checkoutResult) {
            *result = *host->checkoutResult;
            return PF_Err_NONE;
        }
        *result = PF_CheckoutResult();
        const PF_LRect bounds =
            host->mInput ? PF_LRect{0, 0, host->mInput->width(), host->mInput->height()} : PF_LRect{};
        result->result_rect = intersect(req->rect, bounds);
        result->max_result_rect = bounds;
        result->par = PF_RationalScale{1, 1};
        result->ref_width = bounds.right;
        result->ref_height = bounds.bottom;
        return PF_Err_NONE;
    }

    static PF_Err guidMixIn(PF_ProgPtr, A_u_long, const void*) { return PF_Err_NONE; }

    static PF_Err checkoutLayerPixels(PF_ProgPtr ref, A_long, PF_EffectWorld** pixels) {
        EffectHost* host = EffectHost::fromRef(ref);
        host->probe();
        if (const PF_Err err = host->mSuites->injected(Callback::CheckoutLayerPixels)) return err;
        *pixels = (host->mFaults.nullInputWorld || !host->mInput) ? nullptr : host->mInput->def();
        return PF_Err_NONE;
    }

    static PF_Err checkinLayerPixels(PF_ProgPtr ref, A_long) {
        ++EffectHost::fromRef(ref)->mCheckinLayerPixels;
        return PF_Err_NONE;
    }

    static PF_Err checkoutOutput(PF_ProgPtr ref, PF_EffectWorld** output) {
        EffectHost* host = EffectHost::fromRef(ref);
        host->probe();
        if (const PF_Err err = host->mSuites->injected(Callback::CheckoutOutput)) return err;
        *output = host->mOutput ? host->mOutput->def() : nullptr;
        return PF_Err_NONE;
    }

    static PF_Err pixelData8(PF_EffectWorld* world, PF_PixelPtr, PF_Pixel8** pixels) {
        const HostWorld* owner = HostWorld::fromDef(world);
        const bool eight =
            world && (owner ? owner->depth() == Depth::Eight : !(world->world_flags & PF_WorldFlag_DEEP));
        *pixels = eight ? static_cast<PF_Pixel8*>(world->data) : nullptr;
        return eight ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
    }

    static PF_Err pixelData16(PF_EffectWorld* world, PF_PixelPtr, PF_Pixel16** pixels) {
        const HostWorld* owner = HostWorld::fromDef(world);
        const bool sixteen =
            world && (owner ? owner->depth() == Depth::Sixteen : (world->world_flags & PF_WorldFlag_DEEP));
        *pixels = sixteen ? static_cast<PF_Pixel16*>(world->data) : nullptr;
        return sixteen ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
    }
};

EffectHost::EffectHost(const std::string& bundlePath, HostOptions options)
    : mBundle(bundlePath),
      mOptions(options),
      mSuites(new HostSuites(mFaults)),
      mThread(std::this_thread::get_id()),
      mUtils(),
      mInData(),
      mOutData(),
      mLastRequest() {
    mWanted = resolveRenderer(mOptions.renderer);
    mServedWhy = mOptions.renderer == Renderer::Auto ? autoRenderer().why : "asked for";
    // The host's context stands for a host that renders with GL; a CPU render makes none.
    if (mOptions.hostGLContext && mWanted == Renderer::GL) {
        mGL.reset(new HostGLContext());
    }
    mSuites->setRendererChooser([this](A_long offered, A_long* chosen) { return chooseRenderer(offered, chosen); });
    mUtils.ansi = HostSuites::ansiTable();
    mUtils.get_pixel_data8 = HostCallbacks::pixelData8;
    mUtils.get_pixel_data16 = HostCallbacks::pixelData16;

    mInData.inter.checkout_param = HostCallbacks::checkoutParam;
    mInData.inter.checkin_param = HostCallbacks::checkinParam;
    mInData.inter.add_param = HostCallbacks::addParam;
    mInData.inter.abort = HostCallbacks::abort;
    mInData.inter.progress = HostCallbacks::progress;
    mInData.utils = &mUtils;
    mInData.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
    mInData.version = 0x000D0028;
    mInData.appl_id = 0x46584853;  // 'FXHS'
    mInData.time_step = 1;
    mInData.local_time_step = 1;
    mInData.time_scale = kTimeScale;
    mInData.downsample_x = mInData.downsample_y = mInData.pixel_aspect_ratio = PF_RationalScale{1, 1};
    mInData.pica_basicP = mSuites->basicSuite();

    PF_ParamDef layer = PF_ParamDef();
    layer.param_type = PF_Param_LAYER;
    std::strcpy(layer.name, "Input");
    mParams.push_back(layer);
}

EffectHost::~EffectHost() {
    if (mSetUp) {
        globalSetdown();
    }
    if (mGL && mGL->isCurrent()) {
        HostGLContext::releaseCurrent();
    }
}

void EffectHost::probe() {
    if (callbackProbe) callbackProbe();
}

EffectHost* EffectHost::fromRef(PF_ProgPtr effect_ref) {
    return reinterpret_cast<EffectHost*>(effect_ref);
}

PF_Err EffectHost::send(PF_Cmd cmd, void* extra) {
    const bool ownThread = std::this_thread::get_id() == mThread;
    if (mGL && ownThread) {
        mGL->makeCurrent();
    }
    mParamPointers.clear();
    for (PF_ParamDef& def : mParams) mParamPointers.push_back(&def);
    mInData.num_params = static_cast<A_long>(mParams.size());
    PF_Err err = PF_Err_NONE;
    const int savedOutput = routeBundleOutput();
    // The guards stand around the effect's call alone: whatever the host wrote into the worlds
    // before it is not the effect's doing.
    for (HostWorld* world : {mInput, mOutput})
        if (world) world->armGuards();
    try {
        err = mBundle.entryPoint()(cmd, &mInData, &mOutData, mParamPointers.data(),
                                   mOutput ? mOutput->def() : nullptr, extra);
    } catch (...) {
        mViolations.push_back("command " + std::to_string(cmd) + ": an exception crossed EntryPointFunc");
        err = PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
    restoreOutput(savedOutput);
    checkAfter(cmd, ownThread);
    return err;
}

// The bundle writes to descriptor 1 through the process's one stdout; what it has written is
// flushed on either side of the swap, so none of it reaches the host's own standard output.
int EffectHost::routeBundleOutput() {
    if (mOptions.bundleOutput < 0) return -1;
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    if (saved >= 0) dup2(mOptions.bundleOutput, STDOUT_FILENO);
    return saved;
}

void EffectHost::restoreOutput(int saved) {
    if (saved < 0) return;
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
}

void EffectHost::checkAfter(PF_Cmd cmd, bool ownThread) {
    const std::string where = "command " + std::to_string(cmd) + ": ";
    const std::string unbalanced = mSuites->unbalanced();
    if (!unbalanced.empty()) mViolations.push_back(where + "suites not released: " + unbalanced);
    if (mSuites->liveHandles() != 0) mViolations.push_back(where + "host handles left allocated");
    // A world rendered in place is the output: the effect writes it, and it is checked once.
    for (HostWorld* world : {mInput == mOutput ? nullptr : mInput, mOutput}) {
        if (!world) continue;
        const std::string damage = world->guardDamage();
        if (!damage.empty())
            mViolations.push_back(where + "bytes outside " + (world == mOutput ? "the output" : "the input") +
                                  " world were written: " + damage);
    }
    if (mGL && ownThread) {
        const std::string difference = mGL->stateDifference();
        if (!difference.empty())
            mViolations.push_back(where + "the host's GL context is not current afterwards: " + difference);
    }
}

PF_Err EffectHost::about() {
    return send(PF_Cmd_ABOUT);
}

PF_Err EffectHost::globalSetup() {
    mSetUp = true;
    mRendererAsked = false;
    const PF_Err err = send(PF_Cmd_GLOBAL_SETUP);
    settleRenderer();
    return err;
}

A_Err EffectHost::chooseRenderer(A_long offered, A_long* chosen) {
    mRendererAsked = true;
    if (mWanted == Renderer::CPU && (offered & kOstrivaneRenderer_CPU)) {
        *chosen = kOstrivaneRenderer_CPU;
        mServed = Renderer::CPU;
    } else if (offered & kOstrivaneRenderer_GL) {
        *chosen = kOstrivaneRenderer_GL;
        mServed = Renderer::GL;
    } else if (offered & kOstrivaneRenderer_CPU) {
        *chosen = kOstrivaneRenderer_CPU;
        mServed = Renderer::CPU;
    } else {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    return A_Err_NONE;
}

// A bundle that never asked renders with GL, as every bundle did before the suite.
void EffectHost::settleRenderer() {
    if (!mRendererAsked) mServed = Renderer::GL;
    if (mServed != mWanted) {
        if (mOptions.renderer == Renderer::CPU)
            throw std::runtime_error(mBundle.path() + ": the effect has no CPU renderer (use --renderer gl or auto)");
        mServedWhy = mWanted == Renderer::CPU ? "the effect has no CPU renderer" : "the effect has no GL pass";
    }
    if (mServed == Renderer::GL && !mGL && mOptions.hostGLContext) {
        mGL.reset(new HostGLContext());
    }
}

PF_Err EffectHost::paramsSetup() {
    mParams.resize(1);
    mCurves.clear();
    return send(PF_Cmd_PARAMS_SETUP);
}

PF_Err EffectHost::globalSetdown() {
    mSetUp = false;
    return send(PF_Cmd_GLOBAL_SETDOWN);
}

PF_Err EffectHost::smartPreRender(const PF_RenderRequest& request, PF_PreRenderOutput& output,
                                  HostWorld* input) {
    mInput = input;
    PF_PreRenderInput preInput = PF_PreRenderInput();
    preInput.output_request = request;
    preInput.bitdepth = 8;
    PF_PreRenderCallbacks callbacks{HostCallbacks::checkoutLayer, HostCallbacks::guidMixIn};
    PF_PreRenderExtra extra{&preInput, &output, &callbacks};
    const PF_Err err = send(PF_Cmd_SMART_PRE_RENDER, &extra);
    mInput = nullptr;
    return err;
}

PF_Err EffectHost::smartRender(HostWorld* input, HostWorld* output) {
    mInput = input;
    mOutput = output;
    PF_SmartRenderInput renderInput = PF_SmartRenderInput();
    renderInput.bitdepth = 8;
    PF_SmartRenderCallbacks callbacks{HostCallbacks::checkoutLayerPixels, HostCallbacks::checkinLayerPixels,
                                      HostCallbacks::checkoutOutput};
    PF_SmartRenderExtra extra{&renderInput, &callbacks};
    const PF_Err err = send(PF_Cmd_SMART_RENDER, &extra);
    mInput = mOutput = nullptr;
    return err;
}

PF_Err EffectHost::renderFrame(HostWorld& input, HostWorld& output) {
    PF_RenderRequest request = PF_RenderRequest();
    request.rect = PF_LRect{0, 0, input.width(), input.height()};
    request.channel_mask = PF_ChannelMask_ARGB;
    PF_PreRenderOutput preOutput = PF_PreRenderOutput();
    if (const PF_Err err = smartPreRender(request, preOutput, &input)) return err;
    return smartRender(&input, &output);
}

void EffectHost::setParamValue(int index, double value) {
    if (index > 0 && index < static_cast<int>(mParams.size())) {
        mCurves.erase(index);
        mParams[index].u.fs_d.value = value;
    }
}

void EffectHost::setParamCurve(int index, const ParameterCurve& curve) {
    if (index > 0 && index < static_cast<int>(mParams.size())) {
        mCurves.erase(index);
        mCurves.emplace(index, curve);
        mParams[index].u.fs_d.value = curve.at(frameAt(mInData.current_time, mInData.time_scale));
    }
}

double EffectHost::paramValueAt(int index, double frame) const {
    const auto curve = mCurves.find(index);
    return curve != mCurves.end() ? curve->second.at(frame) : mParams.at(index).u.fs_d.value;
}

void EffectHost::setTime(A_long currentTime) {
    mInData.current_time = currentTime;
    for (const auto& curve : mCurves) {
        mParams[curve.first].u.fs_d.value = curve.second.at(frameAt(currentTime, mInData.time_scale));
    }
}

// A time in `scale` units a second is a frame of the host's own rate (time_scale / time_step
// frames a second); an effect may ask in a scale of its own.
double EffectHost::frameAt(A_long time, A_u_long scale) const {
    const double step = mInData.time_step > 0 ? mInData.time_step : 1;
    if (scale == 0 || scale == static_cast<A_u_long>(mInData.time_scale)) return time / step;
    return static_cast<double>(time) * mInData.time_scale / scale / step;
}

std::string EffectHost::effectName() {
    if (!mEffectName.empty()) return mEffectName;
    if (const PF_Err err = about()) throw std::runtime_error("PF_Cmd_ABOUT failed with " + errorName(err));
    std::string name(mOutData.name, strnlen(mOutData.name, sizeof mOutData.name));
    if (name.empty()) {
        std::string about(mOutData.return_msg, strnlen(mOutData.return_msg, sizeof mOutData.return_msg));
        while (!about.empty() && (about.back() == '\r' || about.back() == '\n')) about.pop_back();
        const size_t lastBreak = about.find_last_of("\r\n");
        name = lastBreak == std::string::npos ? about : about.substr(lastBreak + 1);
    }
    if (name.empty()) throw std::runtime_error("the effect gives no name (its about text is empty)");
    return mEffectName = name;
}

int EffectHost::paramIndex(const std::string& name) const {
    auto lower = [](std::string s) {
        std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
        return s;
    };
    for (size_t i = 1; i < mParams.size(); ++i) {
        if (lower(mParams[i].name) == lower(name)) return static_cast<int>(i);
    }
    return -1;
}

std::string errorName(PF_Err err) {
    switch (err) {
        case PF_Err_NONE:
            return "PF_Err_NONE";
        case PF_Err_OUT_OF_MEMORY:
            return "PF_Err_OUT_OF_MEMORY";
        case A_Err_MISSING_SUITE:
            return "A_Err_MISSING_SUITE";
        case PF_Err_INTERNAL_STRUCT_DAMAGED:
            return "PF_Err_INTERNAL_STRUCT_DAMAGED";
        case PF_Err_INVALID_INDEX:
            return "PF_Err_INVALID_INDEX";
        case PF_Err_UNRECOGNIZED_PARAM_TYPE:
            return "PF_Err_UNRECOGNIZED_PARAM_TYPE";
        case PF_Err_INVALID_CALLBACK:
            return "PF_Err_INVALID_CALLBACK";
        case PF_Err_BAD_CALLBACK_PARAM:
            return "PF_Err_BAD_CALLBACK_PARAM";
        case PF_Interrupt_CANCEL:
            return "PF_Interrupt_CANCEL";
        case PF_Err_CANNOT_PARSE_KEYFRAME_TEXT:
            return "PF_Err_CANNOT_PARSE_KEYFRAME_TEXT";
    }
    return "error " + std::to_string(err);
}

}  // namespace fxhost
