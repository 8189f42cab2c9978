// The one effect behind every frei0r instance in the process, and the one lock that every call
// into it holds: the effect renders one frame at a time per process. It is set up (global set-up,
// parameter set-up) for the first user and set down after the last; acquire() throws
// std::runtime_error naming the bundle and the reason. The caller's EGL state is put back after
// every call into the bundle. All members but mutex() expect the caller to hold mutex().
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "EffectHost.h"
#include "HostWorld.h"
#include "SliderMapping.h"

namespace fxhost {

struct EffectDescription {
    std::string name;         // the effect's own name, or the configured one when it cannot load
    std::string explanation;  // from its about text, or why it cannot load
    std::vector<SliderMapping> sliders;
};

class SharedEffect {
public:
    // `candidates` as BundleLocator takes them; `fallbackName` names the effect when the bundle
    // cannot be read.
    static SharedEffect& instance();
    static void configure(const char* candidates, const char* fallbackName);

    std::mutex& mutex() { return mMutex; }

    // Asked of the bundle once (set up and set down again when nobody else uses it), then kept.
    const EffectDescription& description();

    void acquire();
    void release();
    int users() const { return mUsers; }

    // Renders `input` into `output` (same size) with the sliders at `values` (0 to 1 each).
    // Returns an empty string, or what went wrong in words.
    std::string render(const std::vector<double>& values, HostWorld& input, HostWorld& output);
    // True where the effect renders on the CPU, which reads each pixel before it writes it: one
    // world may then be both the input and the output. Fixed from acquire() to the last release().
    bool rendersInPlace() const;

    // True the first time it is asked for that slider: clamp warnings are given once per process.
    bool firstClampOf(size_t slider);

private:
    SharedEffect() = default;
    void describe();

    std::mutex mMutex;
    std::string mCandidates;
    std::string mFallbackName;
    std::unique_ptr<EffectHost> mHost;
    int mUsers = 0;
    bool mDescribed = false;
    bool mDescribedFromBundle = false;  // not the fallback kept when it could not load
    EffectDescription mDescription;
    std::vector<bool> mWarned;
    unsigned long mSetUps = 0;  // set-ups so far, counting from 1
};

}  // namespace fxhost
