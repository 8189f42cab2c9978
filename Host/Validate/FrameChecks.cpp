// Frames over time: set-up/frames/set-down cycles, the host's GL context around every command,
// frames from several threads, parameter values at their limits, and the time a frame takes.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <thread>

#include "CheckSupport.h"
#include "Checks.h"
#include "GLInspector.h"

namespace fxhost {
namespace checks {

namespace {

using check::codeText;
using check::commandName;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kQuarantine = true;  // freed memory waits in a quarantine: resident size says nothing
#else
constexpr bool kQuarantine = false;
#endif

std::string milliseconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f ms", seconds * 1000);
    return text;
}

}  // namespace

void lifecycle(ValidationContext& c) {
    const int cycles = c.full() ? 10 : 3, frames = c.full() ? 8 : 4;
    EffectHost host(c.options().bundle);
    GLInspector gl(host, true);
    HostWorld input(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    HostWorld output(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    check::fillPattern(input, c.options().seed);
    std::vector<long> resident;
    std::optional<GLInspector::Census> firstCycle;
    auto errorsAfter = [&](const std::string& what) {
        const std::string errors = gl.pendingErrors();
        c.check(errors.empty(), what + " left GL errors pending: " + errors);
    };
    for (int cycle = 1; cycle <= cycles; ++cycle) {
        const std::string where = "cycle " + std::to_string(cycle);
        if (!check::setUp(c, host)) return;
        errorsAfter(where + ": set-up");
        std::optional<GLInspector::Census> second;
        for (int frame = 1; frame <= frames; ++frame) {
            const std::string what = where + ", frame " + std::to_string(frame);
            c.step(what);
            gl.startFrame();
            const PF_Err err = host.renderFrame(input, output);
            if (!c.check(err == PF_Err_NONE, what + " returned " + codeText(err))) return;
            errorsAfter(what);
            // The first frame may make what the effect keeps for later ones; from the second on,
            // the share group holds the same at the same point of every frame.
            const auto& census = gl.frameCensus();
            if (frame < 2 || !census) continue;
            if (frame == 2) {
                second = census;
                if (!firstCycle) firstCycle = census;
                const std::string change = GLInspector::censusChange(*firstCycle, *census);
                c.check(change.empty(), "live GL objects of the share group at frame 2 of " + where +
                                            " differ from cycle 1: " + change +
                                            " (expected the same every cycle)");
            } else {
                const std::string change = GLInspector::censusChange(*second, *census);
                if (!c.check(change.empty(),
                             "live GL objects of the share group grew from frame 2 to frame " +
                                 std::to_string(frame) + " of " + where + ": " + change +
                                 " (expected the same at the same point of every frame)"))
                    return;
            }
        }
        c.step(where + ": PF_Cmd_GLOBAL_SETDOWN");
        const PF_Err err = host.globalSetdown();
        c.check(err == PF_Err_NONE, where + ": set-down returned " + codeText(err));
        resident.push_back(check::residentKiB());
    }
    if (!firstCycle) {
        c.note("GL objects not counted: the effect never called the host with a context of its own current");
    } else {
        c.note("live GL objects at frame 2 of every cycle: " + firstCycle->describe());
    }
    // Cycle 1 fills caches that live as long as the process; growth is measured from its end.
    const long growth = resident.back() - resident.front();
    const long bound = 8 * 1024;
    c.note("resident size after each cycle (KiB): " + [&] {
        std::string text;
        for (long r : resident) text += (text.empty() ? "" : ", ") + std::to_string(r);
        return text;
    }());
    if (!kQuarantine) {
        c.check(growth <= bound, "resident size grew " + std::to_string(growth) +
                                     " KiB from cycle 1 to cycle " + std::to_string(cycles) + " (bound " +
                                     std::to_string(bound) + " KiB)");
    }
}

void hostContext(ValidationContext& c) {
    EffectHost host(c.options().bundle);
    GLInspector gl(host, false);
    gl.watchCalls();
    // A host has GL objects of its own before it sets an effect up; they must outlive the effect.
    gl.makeHostObjects();
    HostWorld input(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    HostWorld output(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    check::fillPattern(input, c.options().seed);
    // After every command the host's state is as it left it: its context, no surfaces, OpenGL
    // bound, its own objects as it made them, no other made and nothing bound in its context.
    auto send = [&](PF_Cmd cmd, const std::string& when, const std::function<PF_Err()>& command) {
        const std::string what = commandName(cmd) + when;
        c.step(what);
        GLInspector::setActivity(what);
        const PF_Err err = command();
        GLInspector::setActivity("");
        const std::string outcome =
            err == PF_Err_NONE ? " (success)" : " (failed with " + codeText(err) + ")";
        const std::string difference = host.glContext()->stateDifference();
        c.check(difference.empty(), "after " + what + outcome + ": " + difference);
        host.glContext()->makeCurrent();
        const std::string damage = gl.hostContextDamage();
        c.check(damage.empty(), "after " + what + outcome + ", the host's context was used: " + damage);
        return err;
    };
    auto sequence = [&](const std::string& when) {
        send(PF_Cmd_ABOUT, when, [&] { return host.about(); });
        send(PF_Cmd_PARAMS_SETUP, when, [&] {
            const PF_Err err = host.paramsSetup();
            check::setDefaults(host);
            return err;
        });
        send(PF_Cmd_SMART_PRE_RENDER, when, [&] { return check::preRender(host, input); });
        send(PF_Cmd_SMART_RENDER, when, [&] { return host.smartRender(&input, &output); });
    };
    send(PF_Cmd_GLOBAL_SETUP, "", [&] { return host.globalSetup(); });
    sequence("");
    sequence(", the second frame");
    // Failure paths: each callback failing in turn, and a frame refused for an output without pixels.
    for (Callback callback : kAllCallbacks) {
        host.faults().faults = {{callback, PF_Interrupt_CANCEL, 0, -1}};
        sequence(" while " + std::string(callbackName(callback)) + " fails");
        host.faults().clear();
    }
    host.paramsSetup();
    check::setDefaults(host);
    send(PF_Cmd_SMART_RENDER, " with an output without pixels", [&] {
        const PF_LayerDef saved = *output.def();
        output.def()->data = nullptr;
        check::preRender(host, input);
        const PF_Err err = host.smartRender(&input, &output);
        *output.def() = saved;
        return err;
    });
    send(PF_Cmd_GLOBAL_SETDOWN, "", [&] { return host.globalSetdown(); });
    send(PF_Cmd_GLOBAL_SETUP, " after a set-down", [&] { return host.globalSetup(); });
    sequence(" after a set-down");
    send(PF_Cmd_GLOBAL_SETDOWN, " at the end", [&] { return host.globalSetdown(); });

    if (gl.checkedCalls() == 0) {
        c.note(
            "GL calls not checked one by one: the effect made none through the shared glbinding library; "
            "the host's context was checked for objects, bindings and errors instead");
    } else {
        c.note(std::to_string(gl.checkedCalls()) + " GL calls checked for a context of the effect's");
        c.check(gl.offendingCalls() == 0,
                std::to_string(gl.offendingCalls()) +
                    " GL calls were made without a context of the effect's current; the first: " +
                    gl.firstOffence());
    }
}

void threads(ValidationContext& c) {
    const int threadCount = c.full() ? 4 : 2, rounds = c.full() ? 4 : 2;
    EffectHost host(c.options().bundle);
    if (!check::setUp(c, host)) return;
    HostWorld input(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    check::fillPattern(input, c.options().seed);
    HostWorld reference(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    c.step("a frame on the host's thread");
    PF_Err err = host.renderFrame(input, reference);
    if (!c.check(err == PF_Err_NONE, "the frame on the host's thread returned " + codeText(err))) return;

    // A pool of threads, as a host keeps one, each sending a frame in its turn: one frame at a time.
    std::mutex mutex;
    std::condition_variable turnChanged;
    int turn = 0;
    std::vector<std::string> failures;
    std::vector<std::thread> pool;
    for (int t = 0; t < threadCount; ++t) {
        pool.emplace_back([&, t] {
            HostWorld output(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
            for (int round = 0; round < rounds; ++round) {
                std::unique_lock<std::mutex> lock(mutex);
                turnChanged.wait(lock, [&] { return turn == round * threadCount + t; });
                const std::string what = "frame " + std::to_string(turn + 1) + " on thread " +
                                         std::to_string(t + 1) + " of the pool";
                c.step(what);
                check::fillMark(output);
                const PF_Err frameErr = host.renderFrame(input, output);
                if (frameErr != PF_Err_NONE) {
                    failures.push_back(what + " returned " + codeText(frameErr));
                } else {
                    const std::string diff = check::difference(output, reference);
                    if (!diff.empty())
                        failures.push_back(what + " differs from the host thread's frame: " + diff);
                }
                ++turn;
                turnChanged.notify_all();
            }
        });
    }
    for (std::thread& t : pool) t.join();
    for (const std::string& f : failures) c.fail(f);
    if (host.outData().out_flags2 & PF_OutFlag2_SUPPORTS_THREADED_RENDERING) {
        c.note(
            "the effect declares threaded rendering, but fxhost lends one frame's worlds at a time: "
            "frames were sent from several threads, one after another, not at once");
    } else {
        c.note("frames sent one at a time from " + std::to_string(threadCount) +
               " threads; none at once, as the effect does not declare threaded rendering");
    }
    c.step("PF_Cmd_GLOBAL_SETDOWN");
    host.globalSetdown();
}

void parameterValues(ValidationContext& c) {
    EffectHost host(c.options().bundle);
    if (!check::setUp(c, host)) return;
    HostWorld input(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    check::fillPattern(input, c.options().seed);
    HostWorld first(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    HostWorld second(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    // Twice each: the same input and settings must give the same bytes.
    auto renderTwice = [&](const std::string& what) {
        for (HostWorld* output : {&first, &second}) {
            check::fillMark(*output);
            c.step(what);
            const PF_Err err = host.renderFrame(input, *output);
            if (!c.check(err == PF_Err_NONE, what + ": render returned " + codeText(err))) return;
        }
        const std::string diff = check::difference(second, first);
        c.check(diff.empty(),
                what + ": the same input and settings gave different bytes the second time: " + diff);
    };
    renderTwice("every parameter at its default");
    int others = 0;
    std::mt19937 random(c.options().seed);
    const auto params = host.params();
    for (size_t i = 1; i < params.size(); ++i) {
        if (params[i].param_type != PF_Param_FLOAT_SLIDER) {
            ++others;
            continue;
        }
        const PF_FloatSliderDef& f = params[i].u.fs_d;
        const double inside = (f.valid_max - f.valid_min) * 1e-3;
        std::vector<std::pair<std::string, double>> values = {
            {"minimum", f.valid_min},
            {"just above the minimum", f.valid_min + inside},
            {"default", f.dephault},
            {"just below the maximum", f.valid_max - inside},
            {"maximum", f.valid_max}};
        if (c.full()) {
            std::uniform_real_distribution<double> any(f.valid_min, f.valid_max);
            for (int k = 0; k < 5; ++k) values.push_back({"a random value", any(random)});
        }
        for (const auto& value : values) {
            check::setDefaults(host);
            host.setParamValue(static_cast<int>(i), value.second);
            char text[64];
            std::snprintf(text, sizeof text, "%g", value.second);
            renderTwice("\"" + std::string(params[i].name) + "\" = " + text + " (" + value.first + ")");
        }
    }
    if (others > 0)
        c.note(std::to_string(others) + " parameters that are not float sliders were left at their values");
    c.step("PF_Cmd_GLOBAL_SETDOWN");
    host.globalSetdown();
}

void timing(ValidationContext& c) {
    using Clock = std::chrono::steady_clock;
    auto since = [](Clock::time_point start) {
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    const int frames = c.full() ? 10 : 3;
    EffectHost host(c.options().bundle);
    const Clock::time_point setupStart = Clock::now();
    if (!check::setUp(c, host)) return;
    const double setup = since(setupStart);
    HostWorld input(1920, 1080, Depth::Eight), output(1920, 1080, Depth::Eight);
    check::fillPattern(input, c.options().seed);
    std::vector<double> times;
    for (int frame = 0; frame <= frames; ++frame) {
        c.step("1920x1080 frame " + std::to_string(frame + 1));
        const Clock::time_point start = Clock::now();
        const PF_Err err = host.renderFrame(input, output);
        times.push_back(since(start));
        if (!c.check(err == PF_Err_NONE,
                     "1920x1080 frame " + std::to_string(frame + 1) + " returned " + codeText(err)))
            return;
    }
    std::vector<double> later(times.begin() + 1, times.end());
    std::sort(later.begin(), later.end());
    c.note("set-up " + milliseconds(setup) + ", first 1920x1080 frame " + milliseconds(times.front()) +
           ", then " + milliseconds(later[later.size() / 2]) + " a frame (median of " +
           std::to_string(frames) + ", fastest " + milliseconds(later.front()) + ")");
    c.step("PF_Cmd_GLOBAL_SETDOWN");
    host.globalSetdown();
}

}  // namespace checks
}  // namespace fxhost
