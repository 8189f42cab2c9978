// OstrivaneExactness: how closely the CPU renderer gives the GL road's bytes, on two charts and on
// photograph-like frames at 1920 x 1080 and 2267 x 1511, for every hue and saturation of the table
// below. The GL road is replayed with the shared library as
// the effect drives it (upload, the effect's pass into the multisampled level, resolve, final
// pass, read-back), so that it stays the GPU's road whichever renderer the bundle is told to use.
//   OstrivaneExactness [--small]     --small: charts and frames of a sixteenth the size, for a quick look
// Prints two Markdown tables; the exit status is 1 when a pair breaks the rule (a colour channel
// further from the GL's than one premultiplied level divided by the alpha), else 0.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "AEOpenGLContext.h"
#include "EffectRoads.h"

using namespace Ostrivane::GaussianBlur;

namespace {

// Every 8-bit RGB value at alpha 255: red along x, green along y, blue in 16 × 16 tiles.
// With `step` 4, every fourth level of each channel.
Frame8 rgbChart(int step) {
    const int levels = 256 / step, tiles = step == 1 ? 16 : 4;
    Frame8 chart{levels * tiles, levels * (levels / tiles), {}};
    chart.bytes.resize(static_cast<size_t>(chart.width) * chart.height * 4);
    for (int y = 0; y < chart.height; ++y)
        for (int x = 0; x < chart.width; ++x) {
            std::uint8_t* p = &chart.bytes[(static_cast<size_t>(y) * chart.width + x) * 4];
            p[0] = 255;
            p[1] = static_cast<std::uint8_t>((x % levels) * step);
            p[2] = static_cast<std::uint8_t>((y % levels) * step);
            p[3] = static_cast<std::uint8_t>(((y / levels) * tiles + x / levels) * step);
        }
    return chart;
}

// `side` × `side` pixels: colours from a fixed random sequence, each at every alpha in turn.
Frame8 alphaChart(int side) {
    Frame8 chart{side, side, std::vector<std::uint8_t>(static_cast<size_t>(side) * side * 4)};
    std::uint32_t state = 12345, colour = 0;
    for (size_t i = 0; i < static_cast<size_t>(side) * side; ++i) {
        if ((i & 255) == 0) {
            state = state * 1664525u + 1013904223u;
            colour = state >> 8;
        }
        std::uint8_t* p = &chart.bytes[i * 4];
        p[0] = static_cast<std::uint8_t>(i);
        p[1] = static_cast<std::uint8_t>(colour);
        p[2] = static_cast<std::uint8_t>(colour >> 8);
        p[3] = static_cast<std::uint8_t>(colour >> 16);
    }
    return chart;
}

// Colour channels by the alpha of their pixel: transparent, low, the rest, opaque.
const int kBands = 4;
const char* const kBandNames[kBands] = {"0", "1-63", "64-254", "255"};
int bandOf(int alpha) { return alpha == 0 ? 0 : alpha < 64 ? 1 : alpha < 255 ? 2 : 3; }

struct Tally {
    long long channels[kBands] = {};
    long long identical[kBands] = {};
    int largest[kBands] = {};
    long long broken = 0;  // channels further apart than one premultiplied level allows

    void add(const std::vector<std::uint8_t>& gl, const std::vector<std::uint8_t>& cpu) {
        for (size_t i = 0; i < gl.size(); i += 4) {
            const int alpha = gl[i], band = bandOf(alpha);
            const int allowed = alpha == 0 ? 0 : (255 + alpha - 1) / alpha;
            if (cpu[i] != gl[i]) ++broken;
            for (size_t c = 1; c < 4; ++c) {
                const int difference = std::abs(int(cpu[i + c]) - int(gl[i + c]));
                ++channels[band];
                identical[band] += difference == 0;
                largest[band] = std::max(largest[band], difference);
                broken += difference > allowed;
            }
        }
    }
    // Transparent pixels are zeros on both roads and left out of the totals.
    long long allChannels() const { return channels[1] + channels[2] + channels[3]; }
    long long allIdentical() const { return identical[1] + identical[2] + identical[3]; }
    int allLargest() const { return *std::max_element(largest + 1, largest + kBands); }
};

std::string share(long long part, long long whole) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.4f %%", whole == 0 ? 100.0 : 100.0 * double(part) / double(whole));
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    const bool small = argc > 1 && std::strcmp(argv[1], "--small") == 0;
    AEOpenGLContext context(nullptr);
    context.makeContextCurrent();
    HueAndSaturationRender pass;

    const Frame8 rgb = rgbChart(small ? 4 : 1);
    const Frame8 alphas = alphaChart(small ? 256 : 1024);
    std::printf("\nCharts: every %s8-bit RGB value at alpha 255 (%d x %d); %d colours over every alpha (%d x %d).\n",
                small ? "fourth " : "", rgb.width, rgb.height, alphas.width * alphas.height / 256, alphas.width,
                alphas.height);
    std::printf("Identical share of colour channels and largest difference in levels, alpha 0 left out (zeros on "
                "both); by alpha on the second chart.\n\n");
    std::printf("| Hue | Saturation | RGB chart | largest | Alpha chart | largest |");
    for (const char* name : {kBandNames[1], kBandNames[2], kBandNames[3]}) std::printf(" alpha %s |", name);
    std::printf("\n|---|---|---|---|---|---|---|---|---|\n");

    Tally allRgb, allAlphas;
    long long broken = 0;
    for (const float hue : {0.0f, 90.0f, 200.5f, 359.9f, -45.0f, 725.0f}) {
        for (const float saturation : {0.0f, 0.5f, 1.0f, 1.37f, 2.0f}) {
            Tally onRgb, onAlphas;
            onRgb.add(glRoad(pass, rgb, hue, saturation), cpuRoad(rgb, hue, saturation));
            onAlphas.add(glRoad(pass, alphas, hue, saturation), cpuRoad(alphas, hue, saturation));
            std::printf("| %g | %g | %s | %d | %s | %d |", hue, saturation,
                        share(onRgb.allIdentical(), onRgb.allChannels()).c_str(), onRgb.allLargest(),
                        share(onAlphas.allIdentical(), onAlphas.allChannels()).c_str(), onAlphas.allLargest());
            for (int band = 1; band < kBands; ++band)
                std::printf(" %s, %d |", share(onAlphas.identical[band], onAlphas.channels[band]).c_str(),
                            onAlphas.largest[band]);
            std::printf("\n");
            std::fflush(stdout);
            for (int band = 0; band < kBands; ++band) {
                allRgb.channels[band] += onRgb.channels[band];
                allRgb.identical[band] += onRgb.identical[band];
                allRgb.largest[band] = std::max(allRgb.largest[band], onRgb.largest[band]);
                allAlphas.channels[band] += onAlphas.channels[band];
                allAlphas.identical[band] += onAlphas.identical[band];
                allAlphas.largest[band] = std::max(allAlphas.largest[band], onAlphas.largest[band]);
            }
            broken += onRgb.broken + onAlphas.broken;
        }
    }
    std::printf("| all | all | %s | %d | %s | %d |", share(allRgb.allIdentical(), allRgb.allChannels()).c_str(),
                allRgb.allLargest(), share(allAlphas.allIdentical(), allAlphas.allChannels()).c_str(),
                allAlphas.allLargest());
    for (int band = 1; band < kBands; ++band)
        std::printf(" %s, %d |", share(allAlphas.identical[band], allAlphas.channels[band]).c_str(),
                    allAlphas.largest[band]);
    std::printf("\n");

    // Photograph-like frames: sizes that are no power of two, where the GL pass samples between
    // texels; every pair of the table, totals and the worst pair.
    std::printf("\nPhotograph-like frames (opaque): identical share of colour channels over the table above, the "
                "lowest of one pair, and the largest difference in levels.\n\n");
    std::printf("| Frame | identical | lowest pair | largest |\n|---|---|---|---|\n");
    const int sizes[][2] = {{1920, 1080}, {2267, 1511}};
    for (const auto& size : sizes) {
        const int width = small ? size[0] / 4 : size[0], height = small ? size[1] / 4 : size[1];
        const Frame8 photograph = photographLike(width, height);
        Tally all;
        double lowest = 100.0;
        for (const float hue : {0.0f, 90.0f, 200.5f, 359.9f, -45.0f, 725.0f}) {
            for (const float saturation : {0.0f, 0.5f, 1.0f, 1.37f, 2.0f}) {
                Tally one;
                one.add(glRoad(pass, photograph, hue, saturation), cpuRoad(photograph, hue, saturation));
                lowest = std::min(lowest, 100.0 * double(one.allIdentical()) / double(one.allChannels()));
                all.channels[3] += one.channels[3];
                all.identical[3] += one.identical[3];
                all.largest[3] = std::max(all.largest[3], one.largest[3]);
                broken += one.broken;
            }
        }
        std::printf("| %d x %d | %s | %.4f %% | %d |\n", width, height,
                    share(all.allIdentical(), all.allChannels()).c_str(), lowest, all.allLargest());
        std::fflush(stdout);
    }
    std::printf("\nexactness_broken_channels %lld\n", broken);
    return broken == 0 ? 0 : 1;
}
