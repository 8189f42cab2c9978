// The commands in the host's order, unknown selectors, null records, and the parameter table.
#include <cxxabi.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <set>
#include <typeinfo>

#include "CheckSupport.h"
#include "Checks.h"
#include "EffectInfo.h"

namespace fxhost {
namespace checks {

namespace {

using check::codeText;
using check::commandName;

std::string typeName(const std::type_info& type) {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                std::free);
    return status == 0 && name ? name.get() : type.name();
}

// Sends a command straight to the entry point, with the host's context current, so that records
// can be null and an exception seen for what it is. Fails and returns false when one crosses.
bool sendRaw(ValidationContext& c, EffectHost& host, PF_Cmd cmd, PF_InData* in, PF_OutData* out, void* extra,
             const std::string& what, PF_Err& err) {
    std::vector<PF_ParamDef> params = host.params();
    std::vector<PF_ParamDef*> pointers;
    for (PF_ParamDef& p : params) pointers.push_back(&p);
    if (host.glContext()) host.glContext()->makeCurrent();
    c.step(what);
    try {
        err = host.bundle().entryPoint()(cmd, in, out, pointers.data(), nullptr, extra);
        return true;
    } catch (const std::exception& e) {
        c.fail(what + ": a C++ exception crossed EntryPointFunc (" + typeName(typeid(e)) + ": " + e.what() +
               "); the host is not C++ and cannot catch it");
    } catch (...) {
        c.fail(what + ": a C++ exception of unknown type crossed EntryPointFunc; the host cannot catch it");
    }
    return false;
}

void judgeHostRecords(ValidationContext& c, const EffectHost& host) {
    for (check::Rule rule : {check::Rule::Exception, check::Rule::Suites}) {
        for (const std::string& v : check::violations(host, rule)) c.fail(v);
    }
}

}  // namespace

void commandSequence(ValidationContext& c) {
    EffectHost host(c.options().bundle);
    HostWorld input(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    HostWorld output(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    check::fillPattern(input, c.options().seed);
    HostWorld again(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    for (int round = 1; round <= 2; ++round) {
        const std::string when = round == 1 ? "" : " after a set-down, in the same load";
        HostWorld& target = round == 1 ? output : again;
        std::vector<check::Step> steps = check::firstFrame(host, input, target);
        steps.push_back({PF_Cmd_GLOBAL_SETDOWN, [&] { return host.globalSetdown(); }});
        check::fillMark(target);
        for (const auto& step : steps) {
            c.step(commandName(step.cmd) + when);
            const PF_Err err = step.send();
            c.check(err == PF_Err_NONE,
                    commandName(step.cmd) + when + " returned " + codeText(err) + ", expected PF_Err_NONE");
        }
    }
    const std::string diff = check::difference(again, output);
    c.check(diff.empty(), "the frame after a second set-up in the same load differs from the first: " + diff);
    judgeHostRecords(c, host);
}

void unknownSelectors(ValidationContext& c) {
    EffectHost host(c.options().bundle);
    if (!check::setUp(c, host)) return;
    // Selectors past the last the host API defines, and ones no host can send.
    for (PF_Cmd selector : {PF_Cmd_SMART_RENDER + 1, PF_Cmd_SMART_RENDER + 7, 100, 65535, -1, 0x7fffffff}) {
        const std::string what = "unknown selector " + std::to_string(selector);
        PF_Err err = PF_Err_NONE;
        if (sendRaw(c, host, selector, &host.inData(), &host.outData(), nullptr, what, err)) {
            c.check(check::documented(err), what + " returned " + codeText(err));
        }
    }
    c.step("PF_Cmd_GLOBAL_SETDOWN");
    c.check(host.globalSetdown() == PF_Err_NONE, "PF_Cmd_GLOBAL_SETDOWN after unknown selectors failed");
    judgeHostRecords(c, host);
}

void nullRecords(ValidationContext& c) {
    EffectHost host(c.options().bundle);
    if (!check::setUp(c, host)) return;
    const PF_Cmd commands[] = {PF_Cmd_ABOUT,        PF_Cmd_GLOBAL_SETUP,     PF_Cmd_PARAMS_SETUP,
                               PF_Cmd_SMART_RENDER, PF_Cmd_SMART_PRE_RENDER, PF_Cmd_GLOBAL_SETDOWN};
    for (PF_Cmd cmd : commands) {
        for (int which = 0; which < 3; ++which) {
            // Only the frame commands carry a record in extra; for the others null is their normal.
            const bool frame = cmd == PF_Cmd_SMART_RENDER || cmd == PF_Cmd_SMART_PRE_RENDER;
            if (which == 2 && !frame) continue;
            // The frame commands' extra is null in every case here; the host builds it only for a frame.
            static const char* const kNames[] = {"in_data", "out_data", "extra"};
            const std::string what = commandName(cmd) + " with " + kNames[which] + " null" +
                                     (frame && which != 2 ? " (and extra)" : "");
            PF_Err err = PF_Err_NONE;
            if (sendRaw(c, host, cmd, which == 0 ? nullptr : &host.inData(),
                        which == 1 ? nullptr : &host.outData(), nullptr, what, err)) {
                c.check(check::documented(err), what + " returned " + codeText(err));
                c.check(!(frame && err == PF_Err_NONE),
                        what + " reported success: a frame without its records cannot have been made");
            }
        }
    }
    c.step("PF_Cmd_GLOBAL_SETDOWN");
    host.globalSetdown();
    judgeHostRecords(c, host);
}

void parameterTable(ValidationContext& c) {
    EffectHost host(c.options().bundle);
    for (const auto& step : {std::make_pair(PF_Cmd_ABOUT, &EffectHost::about),
                             std::make_pair(PF_Cmd_GLOBAL_SETUP, &EffectHost::globalSetup),
                             std::make_pair(PF_Cmd_PARAMS_SETUP, &EffectHost::paramsSetup)}) {
        c.step(commandName(step.first));
        const PF_Err err = (host.*step.second)();
        if (!c.check(err == PF_Err_NONE, commandName(step.first) + " returned " + codeText(err))) return;
    }
    const PF_OutData& out = host.outData();
    const std::string flags = outFlagNames(out.out_flags), flags2 = outFlag2Names(out.out_flags2);
    c.check(flags.find("0x") == std::string::npos,
            "out_flags has bits the host API does not define: " + flags);
    c.check(flags2.find("0x") == std::string::npos,
            "out_flags2 has bits the host API does not define: " + flags2);
    if (!(out.out_flags2 & PF_OutFlag2_SUPPORTS_SMART_RENDER))
        c.note("the effect does not declare smart render; fxhost sends frames only that way");
    c.check(out.my_version != 0, "my_version is 0 after global set-up");

    const auto& params = host.params();
    c.check(out.num_params == static_cast<A_long>(params.size()),
            "num_params is " + std::to_string(out.num_params) + " but the effect registered " +
                std::to_string(params.size() - 1) + " parameters after the input layer (expected " +
                std::to_string(params.size()) + ")");
    std::set<std::string> names;
    for (size_t i = 1; i < params.size(); ++i) {
        const PF_ParamDef& p = params[i];
        const std::string name(p.name, strnlen(p.name, sizeof p.name));
        const std::string which = "parameter " + std::to_string(i) + " \"" + name + "\"";
        c.check(name.size() < sizeof p.name, which + ": the name is not terminated within its field");
        c.check(!name.empty(), "parameter " + std::to_string(i) + " has an empty name");
        bool printable = true;
        for (unsigned char ch : name) printable = printable && ch >= 0x20 && ch != 0x7f;
        c.check(printable, which + ": the name has control characters");
        std::string lower = name;
        for (char& ch : lower) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
        c.check(names.insert(lower).second,
                which + ": another parameter has the same name (names are matched in any case)");
        if (p.param_type != PF_Param_FLOAT_SLIDER) continue;
        const PF_FloatSliderDef& f = p.u.fs_d;
        const double values[] = {f.valid_min, f.valid_max, f.slider_min, f.slider_max, f.dephault};
        bool finite = true;
        for (double v : values) finite = finite && std::isfinite(v);
        if (!c.check(finite, which + ": a limit or the default is not a finite number")) continue;
        const std::string limits = " (valid " + std::to_string(f.valid_min) + " to " +
                                   std::to_string(f.valid_max) + ", slider " + std::to_string(f.slider_min) +
                                   " to " + std::to_string(f.slider_max) + ", default " +
                                   std::to_string(f.dephault) + ")";
        c.check(f.valid_min <= f.valid_max, which + ": the valid range is reversed" + limits);
        c.check(f.slider_min <= f.slider_max, which + ": the slider range is reversed" + limits);
        c.check(f.valid_min <= f.slider_min && f.slider_max <= f.valid_max,
                which + ": the slider range leaves the valid range" + limits);
        c.check(f.valid_min <= f.dephault && f.dephault <= f.valid_max,
                which + ": the default is outside the valid range" + limits);
    }
    c.step("PF_Cmd_GLOBAL_SETDOWN");
    host.globalSetdown();
    judgeHostRecords(c, host);
}

}  // namespace checks
}  // namespace fxhost
