// One bundle loaded and set up inside another program (the Python interpreter), shared by every
// user of the same file and renderer, and set down after the last. Every call into a bundle holds
// the one lock of the process, so frames render one at a time, on any thread; the caller's EGL
// state is put back after each. Failures throw BundleError (loading, set-up) or EffectError (a
// frame), with the words `fxhost render` uses; bad values throw std::invalid_argument.
#pragma once

#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "EffectHost.h"
#include "FrameView.h"
#include "ParameterSettings.h"
#include "Renderer.h"

namespace fxhost {

struct EffectError : std::runtime_error {
    using std::runtime_error::runtime_error;
};
struct BundleError : EffectError {
    using EffectError::EffectError;
};

class InProcessEffect {
public:
    // Shared with every other user of the same bundle file (by its real path); a renderer other than
    // the one serving them is refused with BundleError.
    static std::shared_ptr<InProcessEffect> open(const std::string& bundlePath, Renderer renderer);
    // The bundle the installed or built fxhost would use, found from this module's own file.
    static std::string defaultBundle();
    static std::mutex& processLock();

    ~InProcessEffect();  // sends the global set-down, under the process lock
    InProcessEffect(const InProcessEffect&) = delete;
    InProcessEffect& operator=(const InProcessEffect&) = delete;

    const std::string& name() const { return mName; }
    const std::string& path() const { return mPath; }
    // The renderer that serves the effect, and why.
    Renderer renderer() const { return mHost->renderer(); }
    const std::string& rendererReason() const { return mHost->rendererReason(); }
    // The parameter table as the effect registered it; index 0 is the input layer.
    const std::vector<PF_ParamDef>& params() const { return mHost->params(); }
    // A look and NAME=VALUE or NAME=V@F,... assignments, checked as the command line checks them.
    ParameterSettings::Curves resolve(const ParameterSettings& settings);

    // Renders `in` into `out` (the same size) with `curves` at `frame`; every parameter not in
    // `curves` takes the effect's default.
    void render(const FrameView& in, const FrameView& out, const ParameterSettings::Curves& curves,
                int frame);

private:
    InProcessEffect(const std::string& path, Renderer renderer);

    std::string mPath;
    std::string mName;
    std::unique_ptr<EffectHost> mHost;
    std::unique_ptr<HostWorld> mInput;
    std::unique_ptr<HostWorld> mOutput;
    unsigned long mSerial;  // distinguishes this set-up from any before it at the same address
};

}  // namespace fxhost
