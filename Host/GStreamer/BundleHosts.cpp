#include "BundleHosts.h"

#include <cstdlib>
#include <optional>
#include <stdexcept>

#include "CallerGLState.h"
#include "QuietStdout.h"
#include "Renderer.h"

namespace fxhost {

namespace {

// The set-up this thread last rendered in (0: none yet); the effect makes a GL context, and reports
// it on stdout, on each thread it first renders on.
thread_local unsigned long tRenderedInSetUp = 0;

void require(PF_Err err, EffectHost& host, const char* command) {
    if (err) throw std::runtime_error(std::string(command) + " failed with " + errorName(err));
    if (!host.violations().empty()) throw std::runtime_error(std::string(command) + ": " + host.violations().front());
}

}  // namespace

BundleHosts& BundleHosts::instance() {
    // Never destroyed: an application that exits with elements alive must not set effects down from
    // a static destructor, after the GL driver may have gone.
    static BundleHosts* hosts = new BundleHosts;
    return *hosts;
}

void BundleHosts::acquire(const std::string& bundle) {
    std::lock_guard<std::mutex> hold(mMutex);
    Entry& entry = mEntries[bundle];
    if (!entry.host) {
        CallerGLState caller;
        QuietStdout quiet;
        try {
            HostOptions options;
            options.hostGLContext = false;  // the application's context, if any, is the host's
            options.renderer = rendererFromEnvironment();
            auto host = std::make_unique<EffectHost>(bundle, options);
            require(host->globalSetup(), *host, "the effect's global set-up");
            require(host->paramsSetup(), *host, "the effect's parameter set-up");
            entry.host = std::move(host);
            entry.setUp = ++mSetUps;
        } catch (const std::exception& e) {
            const std::string what = e.what();
            throw std::runtime_error(what.find(bundle) != std::string::npos ? what
                                                                           : "effect bundle '" + bundle + "': " + what);
        }
    }
    ++entry.users;
}

void BundleHosts::release(const std::string& bundle) {
    std::lock_guard<std::mutex> hold(mMutex);
    const auto found = mEntries.find(bundle);
    if (found == mEntries.end() || found->second.users == 0) return;
    if (--found->second.users == 0 && found->second.host) {
        CallerGLState caller;
        found->second.host.reset();  // sends the global set-down
    }
}

std::string BundleHosts::render(const std::string& bundle, const std::vector<std::pair<int, double>>& values,
                                HostWorld& input, HostWorld& output) {
    std::lock_guard<std::mutex> hold(mMutex);
    const auto found = mEntries.find(bundle);
    if (found == mEntries.end() || !found->second.host) return "the effect is not set up";
    EffectHost& host = *found->second.host;
    // The CPU renderer touches no GL, so the application's EGL state need not even be looked at.
    std::optional<CallerGLState> caller;
    if (host.renderer() == Renderer::GL) caller.emplace();
    std::optional<QuietStdout> quiet;
    if (tRenderedInSetUp != found->second.setUp) {
        tRenderedInSetUp = found->second.setUp;
        quiet.emplace();
    }
    for (const auto& value : values) host.setParamValue(value.first, value.second);
    host.clearViolations();
    PF_RenderRequest request = PF_RenderRequest();
    request.rect = PF_LRect{0, 0, input.width(), input.height()};
    request.channel_mask = PF_ChannelMask_ARGB;
    PF_PreRenderOutput layout = PF_PreRenderOutput();
    PF_Err err = host.smartPreRender(request, layout, &input);
    if (err) return "the pre-render failed with " + errorName(err);
    if (layout.result_rect.right - layout.result_rect.left != output.width() ||
        layout.result_rect.bottom - layout.result_rect.top != output.height()) {
        return "the effect asked for an output of another size";
    }
    err = host.smartRender(&input, &output);
    if (err) return "the render failed with " + errorName(err);
    if (!host.violations().empty()) return host.violations().front();
    return "";
}

}  // namespace fxhost
