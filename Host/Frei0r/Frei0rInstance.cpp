#include "Frei0rInstance.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "PixelSwizzle.h"

#ifndef FREI0R_MODULE_NAME
#define FREI0R_MODULE_NAME "frei0r module"
#endif

namespace fxhost {

namespace {

// frei0r's own limit is far below this; the bound keeps width × height × 4 inside an int.
constexpr unsigned kMaxSide = 32768;

PixelView viewOf(HostWorld& world) {
    return PixelView{static_cast<uint8_t*>(world.def()->data), world.width(), world.height(),
                     static_cast<size_t>(world.rowbytes())};
}

}  // namespace

Frei0rInstance::Frei0rInstance(SharedEffect& effect, unsigned width, unsigned height)
    : mEffect(effect), mWidth(static_cast<int>(width)), mHeight(static_cast<int>(height)) {
    if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide) {
        throw std::runtime_error("cannot render frames of " + std::to_string(width) + "x" +
                                 std::to_string(height));
    }
    mEffect.acquire();
    try {
        for (const SliderMapping& slider : mEffect.description().sliders) mValues.push_back(slider.defaultUnit());
        mInput = std::make_unique<HostWorld>(mWidth, mHeight, Depth::Eight);
        // A second frame-sized world is 8 MiB at 1080p that the CPU renderer does not need.
        if (!mEffect.rendersInPlace()) mOutput = std::make_unique<HostWorld>(mWidth, mHeight, Depth::Eight);
    } catch (...) {
        mEffect.release();
        throw;
    }
}

Frei0rInstance::~Frei0rInstance() {
    mInput.reset();
    mOutput.reset();
    mEffect.release();
}

void Frei0rInstance::setParam(int index, double value) {
    if (index < 0 || index >= static_cast<int>(mValues.size())) return;
    const SliderMapping& slider = mEffect.description().sliders[index];
    bool clamped = false;
    mValues[index] = slider.clamp(value, clamped);
    if (clamped && mEffect.firstClampOf(static_cast<size_t>(index))) {
        std::fprintf(stderr, "%s: %s\n", FREI0R_MODULE_NAME, slider.clampWarning(value, mValues[index]).c_str());
    }
}

double Frei0rInstance::param(int index) const {
    return index >= 0 && index < static_cast<int>(mValues.size()) ? mValues[index] : 0.0;
}

void Frei0rInstance::update(double time, const uint8_t* rgbaIn, uint8_t* rgbaOut) {
    const size_t rowbytes = static_cast<size_t>(mWidth) * 4;
    const PixelView in{const_cast<uint8_t*>(rgbaIn), mWidth, mHeight, rowbytes};
    const PixelView out{rgbaOut, mWidth, mHeight, rowbytes};
    rgbaToArgb(in, viewOf(*mInput));
    HostWorld& output = mOutput ? *mOutput : *mInput;
    std::string failure;
    try {
        failure = mEffect.render(mValues, *mInput, output);
    } catch (const std::exception& e) {
        failure = e.what();
    }
    if (failure.empty()) {
        argbToRgba(viewOf(output), out);
        return;
    }
    if (rgbaOut != rgbaIn) std::memmove(rgbaOut, rgbaIn, rowbytes * static_cast<size_t>(mHeight));
    if (!mReported) {
        mReported = true;
        std::fprintf(stderr, "%s: the frame at time %g passes through unchanged: %s\n", FREI0R_MODULE_NAME, time,
                     failure.c_str());
    }
}

}  // namespace fxhost
