#include "HueAndSaturationCPURender.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Ostrivane {
namespace GaussianBlur {

namespace {

const double kDegreesToRadians = 0.017453292519943;

std::uint8_t toByte(float value) {
    return static_cast<std::uint8_t>(std::lround(std::min(1.0f, std::max(0.0f, value)) * 255.0f));
}

}  // namespace

void HueAndSaturationCPURender::render(const PF_LayerDef& input, PF_LayerDef& output) const {
    const float angle = static_cast<float>(std::fmod(static_cast<double>(mHue), 360.0) * kDegreesToRadians);
    const float c = std::cos(angle), s = std::sin(angle);
    for (A_long y = 0; y < input.height; ++y) {
        const auto* in = static_cast<const std::uint8_t*>(static_cast<const void*>(input.data)) +
                         static_cast<std::ptrdiff_t>(y) * input.rowbytes;
        auto* out = static_cast<std::uint8_t*>(static_cast<void*>(output.data)) +
                    static_cast<std::ptrdiff_t>(y) * output.rowbytes;
        for (A_long x = 0; x < input.width; ++x, in += 4, out += 4) {
            const float a = in[0] / 255.0f, r = in[1] / 255.0f, g = in[2] / 255.0f, b = in[3] / 255.0f;
            const float Y = 0.299f * r + 0.587f * g + 0.114f * b;
            const float I = 0.595716f * r - 0.274453f * g - 0.321263f * b;
            const float Q = 0.211456f * r - 0.522591f * g + 0.31135f * b;
            const float i2 = I * c + Q * s, q2 = Q * c - I * s;
            float R = Y + 0.9563f * i2 + 0.6210f * q2;
            float G = Y - 0.2721f * i2 - 0.6474f * q2;
            float B = Y - 1.1070f * i2 + 1.7046f * q2;
            const float L = 0.2125f * R + 0.7154f * G + 0.0721f * B;
            R = L + (R - L) * mSaturation;
            G = L + (G - L) * mSaturation;
            B = L + (B - L) * mSaturation;
            const std::uint8_t pa = toByte(a);
            if (pa == 0) {
                out[0] = out[1] = out[2] = out[3] = 0;
                continue;
            }
            const float fa = pa / 255.0f;
            out[0] = pa;
            out[1] = toByte((toByte(R * a) / 255.0f) / fa);
            out[2] = toByte((toByte(G * a) / 255.0f) / fa);
            out[3] = toByte((toByte(B * a) / 255.0f) / fa);
        }
    }
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
