// The effect's two renderers against each other: the same chart through its GL pass and through its
// CPU renderer, at each float slider's limits and default, must agree by the rule its GL pass's own
// rounding allows.
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "CheckSupport.h"
#include "Checks.h"

namespace fxhost {
namespace checks {

namespace {

// Every alpha from 0 to 255 down the rows, colours across: a chart that shows rounding at any alpha.
constexpr int kChartWidth = 96, kChartHeight = 256;

void fillChart(HostWorld& world, unsigned seed) {
    unsigned state = seed * 2654435761u + 1;
    for (int y = 0; y < world.height(); ++y) {
        uint8_t* pixel = static_cast<uint8_t*>(world.def()->data) + static_cast<size_t>(y) * world.rowbytes();
        for (int x = 0; x < world.width(); ++x, pixel += 4) {
            pixel[0] = static_cast<uint8_t>(255 - y);
            for (int k = 1; k < 4; ++k) {
                state = state * 1664525u + 1013904223u;
                pixel[k] = static_cast<uint8_t>(state >> 24);
            }
        }
    }
}

// How far two renderers may stand apart at an alpha: a level of the premultiplied value, magnified
// by un-premultiplying (255 / alpha), plus the final rounding.
int allowedDifference(int alpha) {
    return alpha == 0 ? 0 : (255 + alpha - 1) / alpha;
}

struct Comparison {
    long identical = 0, total = 0;
    std::string beyond;  // the first channel outside the rule, in words
};

Comparison compare(const HostWorld& gl, const HostWorld& cpu) {
    Comparison result;
    for (int y = 0; y < gl.height(); ++y) {
        const uint8_t* a = static_cast<const uint8_t*>(gl.def()->data) + static_cast<size_t>(y) * gl.rowbytes();
        const uint8_t* b = static_cast<const uint8_t*>(cpu.def()->data) + static_cast<size_t>(y) * cpu.rowbytes();
        for (int x = 0; x < gl.width() * 4; ++x) {
            ++result.total;
            if (a[x] == b[x]) {
                ++result.identical;
                continue;
            }
            const int alpha = a[x - x % 4];
            const int apart = a[x] > b[x] ? a[x] - b[x] : b[x] - a[x];
            if (result.beyond.empty() && apart > allowedDifference(alpha)) {
                char text[160];
                std::snprintf(text, sizeof text, "pixel (%d, %d) channel %d: GL %d, CPU %d at alpha %d", x / 4, y,
                              x % 4, a[x], b[x], alpha);
                result.beyond = text;
            }
        }
    }
    return result;
}

struct Setting {
    int index;  // 0: every slider at its default
    double value;
    std::string what;
};

// Every float slider at its minimum, a value inside and its maximum, the others at their defaults.
std::vector<Setting> settingsOf(const EffectHost& host) {
    std::vector<Setting> settings = {{0, 0.0, "every parameter at its default"}};
    const auto& params = host.params();
    for (size_t i = 1; i < params.size(); ++i) {
        if (params[i].param_type != PF_Param_FLOAT_SLIDER) continue;
        const PF_FloatSliderDef& f = params[i].u.fs_d;
        const double low = f.valid_min, high = f.valid_max;
        for (double value : {low, low + (high - low) * 0.37, high}) {
            char what[128];
            std::snprintf(what, sizeof what, "\"%s\" = %g", params[i].name, value);
            settings.push_back({static_cast<int>(i), value, what});
        }
    }
    return settings;
}

bool renderAll(ValidationContext& c, EffectHost& host, const char* renderer, const std::vector<Setting>& settings,
               HostWorld& input, std::vector<std::unique_ptr<HostWorld>>& outputs) {
    for (const Setting& setting : settings) {
        check::setDefaults(host);
        if (setting.index) host.setParamValue(setting.index, setting.value);
        c.step(setting.what + ": a frame through the " + renderer + " renderer");
        outputs.push_back(std::make_unique<HostWorld>(kChartWidth, kChartHeight, Depth::Eight));
        const PF_Err err = host.renderFrame(input, *outputs.back());
        if (!c.check(err == PF_Err_NONE, setting.what + ": the " + renderer + " renderer returned " +
                                             check::codeText(err)))
            return false;
    }
    return true;
}

}  // namespace

void renderers(ValidationContext& c) {
    HostWorld input(kChartWidth, kChartHeight, Depth::Eight);
    fillChart(input, c.options().seed);
    // One host at a time, as one host loads a bundle: every CPU frame first, then every GL frame.
    std::vector<Setting> settings;
    std::vector<std::unique_ptr<HostWorld>> fromCPU, fromGL;
    {
        HostOptions options;
        options.renderer = Renderer::CPU;
        std::unique_ptr<EffectHost> cpu;
        try {
            cpu = std::make_unique<EffectHost>(c.options().bundle, options);
            c.step("PF_Cmd_GLOBAL_SETUP with the CPU renderer asked for");
            if (!check::setUp(c, *cpu)) return;
        } catch (const std::runtime_error&) {
            c.note("the effect offers no CPU renderer: nothing to compare");
            return;
        }
        settings = settingsOf(*cpu);
        if (!renderAll(c, *cpu, "CPU", settings, input, fromCPU)) return;
    }
    EffectHost gl(c.options().bundle);
    c.step("PF_Cmd_GLOBAL_SETUP with the GL pass asked for");
    if (!check::setUp(c, gl)) return;
    if (!c.check(gl.renderer() == Renderer::GL, "the effect took its CPU renderer when GL was asked for")) return;
    if (!renderAll(c, gl, "GL", settings, input, fromGL)) return;

    Comparison all;
    for (size_t k = 0; k < settings.size(); ++k) {
        const Comparison one = compare(*fromGL[k], *fromCPU[k]);
        c.check(one.beyond.empty(), settings[k].what + ": the renderers differ beyond rounding at " + one.beyond);
        all.identical += one.identical;
        all.total += one.total;
    }
    const double share = 100.0 * static_cast<double>(all.identical) / static_cast<double>(all.total);
    char text[128];
    std::snprintf(text, sizeof text, "%.3f %% of channel values identical (at least 99.5 %% expected)", share);
    c.check(share >= 99.5, std::string("the renderers agree on too few values: ") + text);
    c.note(text);
}

}  // namespace checks
}  // namespace fxhost
