// One frei0r instance: a frame size, its own slider values (0 to 1) and its own ARGB worlds
// (one, rendered in place, when the effect runs on the CPU), kept from frame to frame.
// It holds the shared effect while it lives. update() turns an RGBA frame of exactly the
// constructed size into the effect's output; when the effect fails, the frame passes through
// unchanged and the failure is named on standard error once per instance. Every member expects
// the caller to hold the shared effect's lock.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "HostWorld.h"
#include "SharedEffect.h"

namespace fxhost {

class Frei0rInstance {
public:
    // Throws std::runtime_error when the effect cannot be set up or the size is empty.
    Frei0rInstance(SharedEffect& effect, unsigned width, unsigned height);
    ~Frei0rInstance();

    Frei0rInstance(const Frei0rInstance&) = delete;
    Frei0rInstance& operator=(const Frei0rInstance&) = delete;

    // Out-of-range values are clamped, with one warning per slider and process.
    void setParam(int index, double value);
    double param(int index) const;

    // `time` only names the frame in messages, in the unit the application passes.
    void update(double time, const uint8_t* rgbaIn, uint8_t* rgbaOut);

private:
    SharedEffect& mEffect;
    int mWidth;
    int mHeight;
    std::vector<double> mValues;
    std::unique_ptr<HostWorld> mInput;
    std::unique_ptr<HostWorld> mOutput;  // null where the effect renders mInput in place
    bool mReported = false;
};

}  // namespace fxhost
