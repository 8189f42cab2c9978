// Worlds of every awkward shape: empty, one pixel, odd sizes, padded and minimal rows, larger
// than the driver allows, input and output of different sizes, no pixels at all. Guard bytes
// around every buffer must stay intact and every code must be documented; a frame the effect
// accepts must not depend on how its rows are padded.
#include <functional>

#include "CheckSupport.h"
#include "Checks.h"
#include "GLInspector.h"

namespace fxhost {
namespace checks {

namespace {

using check::codeText;

struct WorldCase {
    std::string name;
    int inWidth, inHeight, outWidth, outHeight;
    int pad;                                              // bytes added to every row of both worlds
    std::function<void(PF_LayerDef&, PF_LayerDef&)> lie;  // alters the lent definitions; may be empty
};

std::string size(int w, int h) {
    return std::to_string(w) + "x" + std::to_string(h);
}

// Renders one case; gives the code, the output left in `output`.
PF_Err renderCase(ValidationContext& c, EffectHost& host, const WorldCase& w, HostWorld& input,
                  HostWorld& output) {
    check::fillPattern(input, c.options().seed);
    check::fillMark(output);
    c.step(w.name + ": PF_Cmd_SMART_PRE_RENDER");
    PF_Err err = check::preRender(host, input);
    c.check(check::documented(err), w.name + ": pre-render returned " + codeText(err));
    if (err != PF_Err_NONE) return err;
    const PF_LayerDef in = *input.def(), out = *output.def();
    if (w.lie) w.lie(*input.def(), *output.def());
    c.step(w.name + ": PF_Cmd_SMART_RENDER");
    err = host.smartRender(&input, &output);
    *input.def() = in;
    *output.def() = out;
    c.check(check::documented(err), w.name + ": render returned " + codeText(err));
    for (const HostWorld* world : {&input, &output}) {
        const std::string damage = world->guardDamage();
        c.check(damage.empty(), w.name + ": " + (world == &input ? "input " : "output ") +
                                    size(world->width(), world->height()) + ": " + damage);
    }
    return err;
}

}  // namespace

void worlds(ValidationContext& c) {
    EffectHost host(c.options().bundle);
    c.step("PF_Cmd_GLOBAL_SETUP");
    if (!c.check(host.globalSetup() == PF_Err_NONE && host.paramsSetup() == PF_Err_NONE,
                 "global or parameter set-up failed; no worlds were sent"))
        return;
    check::setDefaults(host);
    host.glContext()->makeCurrent();
    const int largest = GLInspector::largestFrameSide();

    // Accepted frames at these sizes must come out the same with minimal and with padded rows.
    std::vector<std::pair<int, int>> sizes = {{1, 1}, {7, 5}, {33, 17}, {3, 64}, {257, 3}};
    if (c.full()) sizes.insert(sizes.end(), {{2, 1}, {1, 2}, {641, 479}, {1023, 1}, {1, 1023}, {1000, 3}});
    for (const auto& s : sizes) {
        const std::string name = size(s.first, s.second);
        WorldCase minimal{name + " with minimal rowbytes", s.first, s.second, s.first, s.second, 0, nullptr};
        HostWorld in0(s.first, s.second, Depth::Eight, 0), out0(s.first, s.second, Depth::Eight, 0);
        const PF_Err err0 = renderCase(c, host, minimal, in0, out0);
        for (int pad : {4, 60}) {
            WorldCase padded{name + " with rows padded by " + std::to_string(pad) + " bytes",
                             s.first,
                             s.second,
                             s.first,
                             s.second,
                             pad,
                             nullptr};
            HostWorld in(s.first, s.second, Depth::Eight, pad), out(s.first, s.second, Depth::Eight, pad);
            const PF_Err err = renderCase(c, host, padded, in, out);
            if (!c.check(err == err0, padded.name + " returned " + codeText(err) +
                                          " but with minimal rowbytes " + codeText(err0)))
                continue;
            if (err == PF_Err_NONE) {
                const std::string diff = check::difference(out, out0);
                c.check(diff.empty(),
                        padded.name + ": the frame differs from the one with minimal rowbytes: " + diff);
            }
        }
    }

    // Worlds that may be refused: any documented code, the guards intact.
    std::vector<WorldCase> cases = {
        {"empty 0x0", 0, 0, 0, 0, 16, nullptr},
        {"empty 0x3", 0, 3, 0, 3, 16, nullptr},
        {"empty 4x0", 4, 0, 4, 0, 16, nullptr},
        {"wider than the driver allows", largest + 1, 1, largest + 1, 1, 0, nullptr},
        {"taller than the driver allows", 1, largest + 1, 1, largest + 1, 0, nullptr},
        {"output larger than the input", 9, 7, 14, 10, 8, nullptr},
        {"output smaller than the input", 9, 7, 5, 4, 8, nullptr},
        {"output of another shape", 9, 7, 7, 9, 8, nullptr},
        {"input with no pixels", 9, 7, 9, 7, 8, [](PF_LayerDef& in, PF_LayerDef&) { in.data = nullptr; }},
        {"output with no pixels", 9, 7, 9, 7, 8, [](PF_LayerDef&, PF_LayerDef& out) { out.data = nullptr; }},
    };
    for (const WorldCase& w : cases) {
        HostWorld input(w.inWidth, w.inHeight, Depth::Eight, w.pad);
        HostWorld output(w.outWidth, w.outHeight, Depth::Eight, w.pad);
        const PF_Err err = renderCase(c, host, w, input, output);
        const std::string written = check::writtenState(output);
        // Same-sized worlds are all or nothing; the output of another size holds only the overlap.
        if (w.inWidth == w.outWidth && w.inHeight == w.outHeight && !w.lie && w.outWidth * w.outHeight > 0) {
            c.check(err == PF_Err_NONE ? written == "fully written" : written == "untouched",
                    w.name + ": returned " + codeText(err) + " and left the output " + written);
        }
    }
    c.note("largest frame side of the driver: " + std::to_string(largest));
    c.step("PF_Cmd_GLOBAL_SETDOWN");
    host.globalSetdown();
}

}  // namespace checks
}  // namespace fxhost
