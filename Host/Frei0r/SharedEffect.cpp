#include "SharedEffect.h"

#include <cstdlib>

#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>

#include "BundleLocator.h"
#include "CallerGLState.h"
#include "QuietStdout.h"

namespace fxhost {

namespace {

// The set-up this thread last rendered in (0: none yet); a new thread starts again at 0 even
// where it reuses an old one's id.
thread_local unsigned long tRenderedInSetUp = 0;

void require(PF_Err err, EffectHost& host, const char* command) {
    if (err) throw std::runtime_error(std::string(command) + " failed with " + errorName(err));
    if (!host.violations().empty()) {
        throw std::runtime_error(std::string(command) + ": " + host.violations().front());
    }
}

std::string unitOf(const PF_ParamDef& def) {
    const char* desc = def.u.fs_d.value_desc;
    const size_t length = strnlen(desc, sizeof def.u.fs_d.value_desc);
    return length ? std::string(desc, length) : "(the effect's own units)";
}

}  // namespace

SharedEffect& SharedEffect::instance() {
    // Never destroyed: a process that exits with instances alive must not set the effect down
    // from a static destructor, after the GL driver may have gone.
    static SharedEffect* effect = new SharedEffect;
    return *effect;
}

void SharedEffect::configure(const char* candidates, const char* fallbackName) {
    SharedEffect& effect = instance();
    std::lock_guard<std::mutex> hold(effect.mMutex);
    effect.mCandidates = candidates;
    effect.mFallbackName = fallbackName;
}

void SharedEffect::acquire() {
    if (!mHost) {
        CallerGLState caller;
        // The bundle reports its GL driver on standard output as it makes a context; inside
        // `ffmpeg ... -f rawvideo -` that is the application's video stream.
        QuietStdout quiet;
        HostOptions options;
        options.hostGLContext = false;  // the application's context, if any, is the host's
        std::string path;
        try {
            options.renderer = rendererFromEnvironment();
            path = BundleLocator(mCandidates).find();
            auto host = std::make_unique<EffectHost>(path, options);
            require(host->globalSetup(), *host, "the effect's global set-up");
            require(host->paramsSetup(), *host, "the effect's parameter set-up");
            host->effectName();
            mHost = std::move(host);
            ++mSetUps;
        } catch (const std::exception& e) {
            const std::string what = e.what();
            throw std::runtime_error(path.empty() || what.find(path) != std::string::npos
                                         ? what
                                         : "effect bundle '" + path + "': " + what);
        }
        if (!mDescribedFromBundle) describe();
    }
    ++mUsers;
}

void SharedEffect::release() {
    if (mUsers > 0 && --mUsers == 0 && mHost) {
        CallerGLState caller;
        mHost.reset();  // sends the global set-down
    }
}

void SharedEffect::describe() {
    EffectDescription description;
    description.name = mHost->effectName();
    // The about text's lines, but a last one that only repeats the name.
    const std::string about(mHost->outData().return_msg, strnlen(mHost->outData().return_msg, PF_MAX_EFFECT_MSG_LEN));
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < about.size()) {
        const size_t end = std::min(about.find_first_of("\r\n", start), about.size());
        if (end > start) lines.push_back(about.substr(start, end - start));
        start = end + 1;
    }
    if (lines.size() > 1 && lines.back() == description.name) lines.pop_back();
    for (const std::string& line : lines) description.explanation += line + "; ";
    description.explanation += "every parameter 0 to 1, mapped linearly onto its slider's range";
    const std::vector<PF_ParamDef>& params = mHost->params();
    for (size_t i = 1; i < params.size(); ++i) {
        const PF_ParamDef& p = params[i];
        if (p.param_type != PF_Param_FLOAT_SLIDER) continue;
        description.sliders.emplace_back(p.name, p.u.fs_d.valid_min, p.u.fs_d.valid_max, p.u.fs_d.dephault,
                                         unitOf(p));
    }
    mDescription = description;
    mWarned.assign(mDescription.sliders.size(), false);
    mDescribed = mDescribedFromBundle = true;
}

const EffectDescription& SharedEffect::description() {
    if (mDescribed) return mDescription;
    try {
        acquire();
        release();
    } catch (const std::exception& e) {
        // Kept: scanning must stay cheap, and the reason is what a user needs to see.
        mDescription = EffectDescription{mFallbackName, std::string("cannot load: ") + e.what(), {}};
        mDescribed = true;
    }
    return mDescription;
}

std::string SharedEffect::render(const std::vector<double>& values, HostWorld& input, HostWorld& output) {
    if (!mHost) return "the effect is not set up";
    // The CPU renderer touches no GL, so the application's EGL state need not even be looked at.
    std::optional<CallerGLState> caller;
    if (mHost->renderer() == Renderer::GL) caller.emplace();
    // The effect makes a context for each thread it first renders on, and reports it; stdout is
    // the process's, so it is swapped only then, never while an application thread may be writing
    // its own output there frame after frame.
    std::unique_ptr<QuietStdout> quiet;
    if (tRenderedInSetUp != mSetUps) {
        tRenderedInSetUp = mSetUps;
        quiet = std::make_unique<QuietStdout>();
    }
    const std::vector<PF_ParamDef>& params = mHost->params();
    size_t slider = 0;
    for (size_t i = 1; i < params.size() && slider < values.size(); ++i) {
        if (params[i].param_type != PF_Param_FLOAT_SLIDER) continue;
        mHost->setParamValue(static_cast<int>(i), mDescription.sliders[slider].toSlider(values[slider]));
        ++slider;
    }
    mHost->clearViolations();
    PF_RenderRequest request = PF_RenderRequest();
    request.rect = PF_LRect{0, 0, input.width(), input.height()};
    request.channel_mask = PF_ChannelMask_ARGB;
    PF_PreRenderOutput layout = PF_PreRenderOutput();
    PF_Err err = mHost->smartPreRender(request, layout, &input);
    if (err) return "the pre-render failed with " + errorName(err);
    if (layout.result_rect.right - layout.result_rect.left != output.width() ||
        layout.result_rect.bottom - layout.result_rect.top != output.height()) {
        return "the effect asked for an output of another size";
    }
    err = mHost->smartRender(&input, &output);
    if (err) return "the render failed with " + errorName(err);
    if (!mHost->violations().empty()) return mHost->violations().front();
    return "";
}

bool SharedEffect::rendersInPlace() const {
    return mHost && mHost->renderer() == Renderer::CPU;
}

bool SharedEffect::firstClampOf(size_t slider) {
    if (slider >= mWarned.size() || mWarned[slider]) return false;
    mWarned[slider] = true;
    return true;
}

}  // namespace fxhost
