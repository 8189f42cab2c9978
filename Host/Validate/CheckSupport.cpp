#include "CheckSupport.h"

#include <cstdio>
#include <fstream>
#include <random>

#include <unistd.h>

namespace fxhost {
namespace check {

namespace {

const float kMark[4] = {1, 2, 3, 4};

bool isMark(const HostWorld& world, int x, int y) {
    float p[4];
    world.getPixel(x, y, p);
    return p[0] == kMark[0] && p[1] == kMark[1] && p[2] == kMark[2] && p[3] == kMark[3];
}

size_t markedPixels(const HostWorld& world) {
    size_t marked = 0;
    for (int y = 0; y < world.height(); ++y)
        for (int x = 0; x < world.width(); ++x) marked += isMark(world, x, y) ? 1 : 0;
    return marked;
}

std::string pixelText(const float p[4]) {
    char text[128];
    std::snprintf(text, sizeof text, "(A %g, R %g, G %g, B %g)", p[0], p[1], p[2], p[3]);
    return text;
}

}  // namespace

void fillPattern(HostWorld& world, unsigned seed) {
    std::mt19937 random(seed);
    for (int y = 0; y < world.height(); ++y) {
        for (int x = 0; x < world.width(); ++x) {
            const float p[4] = {255, static_cast<float>(random() % 256), static_cast<float>(random() % 256),
                                static_cast<float>(random() % 256)};
            world.setPixel(x, y, p);
        }
    }
}

void fillMark(HostWorld& world) {
    world.fill(kMark);
}

bool untouched(const HostWorld& world) {
    return markedPixels(world) == static_cast<size_t>(world.width()) * world.height();
}

bool fullyWritten(const HostWorld& world) {
    return markedPixels(world) == 0;
}

std::string writtenState(const HostWorld& world) {
    const size_t marked = markedPixels(world);
    const size_t all = static_cast<size_t>(world.width()) * world.height();
    if (marked == all) return "untouched";
    if (marked == 0) return "fully written";
    return "half written: " + std::to_string(marked) + " of " + std::to_string(all) +
           " pixels still hold the host's mark";
}

std::string difference(const HostWorld& got, const HostWorld& want) {
    if (got.width() != want.width() || got.height() != want.height()) return "the sizes differ";
    for (int y = 0; y < got.height(); ++y) {
        for (int x = 0; x < got.width(); ++x) {
            float a[4], b[4];
            got.getPixel(x, y, a);
            want.getPixel(x, y, b);
            if (a[0] != b[0] || a[1] != b[1] || a[2] != b[2] || a[3] != b[3]) {
                return "pixel " + std::to_string(x) + "," + std::to_string(y) + " is " + pixelText(a) +
                       ", expected " + pixelText(b);
            }
        }
    }
    return "";
}

bool documented(PF_Err err, PF_Err injected) {
    return err == injected || errorName(err).compare(0, 6, "error ") != 0;
}

std::string codeText(PF_Err err) {
    const std::string name = errorName(err);
    return name.compare(0, 6, "error ") == 0 ? "undocumented code " + std::to_string(err)
                                             : name + " (" + std::to_string(err) + ")";
}

std::string commandName(PF_Cmd cmd) {
    switch (cmd) {
        case PF_Cmd_ABOUT:
            return "PF_Cmd_ABOUT";
        case PF_Cmd_GLOBAL_SETUP:
            return "PF_Cmd_GLOBAL_SETUP";
        case PF_Cmd_GLOBAL_SETDOWN:
            return "PF_Cmd_GLOBAL_SETDOWN";
        case PF_Cmd_PARAMS_SETUP:
            return "PF_Cmd_PARAMS_SETUP";
        case PF_Cmd_SMART_PRE_RENDER:
            return "PF_Cmd_SMART_PRE_RENDER";
        case PF_Cmd_SMART_RENDER:
            return "PF_Cmd_SMART_RENDER";
        default:
            return "selector " + std::to_string(cmd);
    }
}

void setDefaults(EffectHost& host) {
    const auto& params = host.params();
    for (size_t i = 1; i < params.size(); ++i) {
        if (params[i].param_type == PF_Param_FLOAT_SLIDER)
            host.setParamValue(static_cast<int>(i), params[i].u.fs_d.dephault);
    }
}

PF_Err preRender(EffectHost& host, HostWorld& input) {
    PF_RenderRequest request = PF_RenderRequest();
    request.rect = PF_LRect{0, 0, input.width(), input.height()};
    request.channel_mask = PF_ChannelMask_ARGB;
    PF_PreRenderOutput output = PF_PreRenderOutput();
    return host.smartPreRender(request, output, &input);
}

std::vector<Step> firstFrame(EffectHost& host, HostWorld& input, HostWorld& output) {
    return {
        {PF_Cmd_ABOUT, [&host] { return host.about(); }},
        {PF_Cmd_GLOBAL_SETUP, [&host] { return host.globalSetup(); }},
        {PF_Cmd_PARAMS_SETUP,
         [&host] {
             const PF_Err err = host.paramsSetup();
             setDefaults(host);
             return err;
         }},
        {PF_Cmd_SMART_PRE_RENDER, [&host, &input] { return preRender(host, input); }},
        {PF_Cmd_SMART_RENDER, [&host, &input, &output] { return host.smartRender(&input, &output); }},
    };
}

bool setUp(ValidationContext& c, EffectHost& host) {
    c.step("PF_Cmd_GLOBAL_SETUP");
    const PF_Err setup = host.globalSetup();
    c.step("PF_Cmd_PARAMS_SETUP");
    const PF_Err params = host.paramsSetup();
    setDefaults(host);
    return c.check(
        setup == PF_Err_NONE && params == PF_Err_NONE,
        "set-up failed: global set-up " + codeText(setup) + ", parameter set-up " + codeText(params));
}

std::vector<std::string> violations(const EffectHost& host, Rule rule) {
    // The host words its records itself; these are the phrases of each kind.
    static const char* const kPhrases[][2] = {{"suites not released", "host handles left"},
                                              {"bytes outside", "bytes outside"},
                                              {"GL context", "GL context"},
                                              {"exception", "exception"}};
    const auto& phrases = kPhrases[static_cast<int>(rule)];
    std::vector<std::string> found;
    for (const std::string& v : host.violations()) {
        if (v.find(phrases[0]) != std::string::npos || v.find(phrases[1]) != std::string::npos)
            found.push_back(v);
    }
    return found;
}

long residentKiB() {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace check
}  // namespace fxhost
