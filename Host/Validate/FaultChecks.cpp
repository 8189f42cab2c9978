// Faults of the host: each suite missing or with a null table, each callback failing, each
// allocation refused, the host's and the bundle's own. Every case runs the command sequence on a fresh host, then mends the host
// and renders a good frame, which must equal the frame of a host that never faulted.
#include <algorithm>
#include <map>
#include <memory>

#include "AllocationFaults.h"
#include "CheckSupport.h"
#include "Checks.h"
#include "HostSuites.h"

namespace fxhost {
namespace checks {

namespace {

using check::codeText;
using check::commandName;

constexpr PF_Err kInjected = PF_Interrupt_CANCEL;  // what failing callbacks answer

struct FaultCase {
    std::string name;
    FaultPlan plan;
    long allocation = 0;  // the bundle's own allocation to refuse, counted from about; 0 for none
};

// The frame of a host without faults, how often the sequence calls each callback, and how many
// allocations the bundle's own code makes in it.
struct Clean {
    std::unique_ptr<HostWorld> frame;
    std::map<Callback, int> calls;
    long allocations = 0;
};

// Counts, or refuses one of, the allocations of the host's bundle from here to the end of scope.
class ArmedAllocations {
public:
    ArmedAllocations(EffectHost& host, long failing) {
        AllocationFaults::watch(reinterpret_cast<const void*>(host.bundle().entryPoint()));
        AllocationFaults::arm(failing);
    }
    ~ArmedAllocations() { AllocationFaults::disarm(); }
    ArmedAllocations(const ArmedAllocations&) = delete;
    ArmedAllocations& operator=(const ArmedAllocations&) = delete;
};

// The host's order up to a first frame; `onFailure` is told of every command that failed.
template <typename F>
void sequence(ValidationContext& c, EffectHost& host, HostWorld& input, HostWorld& output,
              const std::string& where, F onFailure) {
    for (const check::Step& step : check::firstFrame(host, input, output)) {
        c.step(where + ": " + commandName(step.cmd));
        const PF_Err err = step.send();
        if (err != PF_Err_NONE) onFailure(step.cmd, err);
    }
}

Clean cleanRun(ValidationContext& c) {
    EffectHost host(c.options().bundle);
    HostWorld input(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    Clean clean;
    clean.frame.reset(new HostWorld(check::kFrameWidth, check::kFrameHeight, Depth::Eight));
    check::fillPattern(input, c.options().seed);
    check::fillMark(*clean.frame);
    bool ok = true;
    {
        ArmedAllocations counting(host, 0);
        sequence(c, host, input, *clean.frame, "without faults", [&](PF_Cmd cmd, PF_Err err) {
            c.fail("without any fault, " + commandName(cmd) + " returned " + codeText(err));
            ok = false;
        });
        clean.allocations = AllocationFaults::counted();
    }
    for (Callback callback : kAllCallbacks) clean.calls[callback] = host.suites().calls(callback);
    c.step("without faults: PF_Cmd_GLOBAL_SETDOWN");
    host.globalSetdown();
    if (!ok) clean.frame.reset();
    return clean;
}

void runCase(ValidationContext& c, const FaultCase& fault, const HostWorld& reference) {
    EffectHost host(c.options().bundle);
    HostWorld input(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    HostWorld output(check::kFrameWidth, check::kFrameHeight, Depth::Eight);
    check::fillPattern(input, c.options().seed);
    check::fillMark(output);
    host.faults() = fault.plan;
    const PF_Err injected = fault.plan.faults.empty() ? PF_Err_NONE : kInjected;
    bool setupFailed = false, paramsFailed = false, renderFailed = false;
    std::unique_ptr<ArmedAllocations> refusing;
    if (fault.allocation != 0) refusing.reset(new ArmedAllocations(host, fault.allocation));
    sequence(c, host, input, output, fault.name, [&](PF_Cmd cmd, PF_Err err) {
        const std::string what = fault.name + ": " + commandName(cmd);
        c.check(check::documented(err, injected),
                what + " returned " + codeText(err) + ", not a documented code");
        const std::string context = host.glContext() ? host.glContext()->stateDifference() : "";
        c.check(context.empty(), what + " failed and did not give the host its GL context back: " + context);
        setupFailed |= cmd == PF_Cmd_GLOBAL_SETUP;
        paramsFailed |= cmd == PF_Cmd_PARAMS_SETUP;
        renderFailed |= cmd == PF_Cmd_SMART_RENDER;
    });
    refusing.reset();
    const std::string written = check::writtenState(output);
    if (renderFailed) {
        c.check(written == "untouched" || written == "fully written",
                fault.name + ": the failed frame left the output " + written +
                    " (expected untouched or fully written)");
    } else {
        c.check(written == "fully written",
                fault.name + ": the frame reported success and left the output " + written);
    }
    const std::string unbalanced = host.suites().unbalanced();
    c.check(unbalanced.empty(), fault.name + ": suites not released: " + unbalanced);
    c.check(host.suites().liveHandles() == 0 && host.suites().liveMemHandles() == 0,
            fault.name + ": handles the effect took from the host were left allocated");
    for (const std::string& v : check::violations(host, check::Rule::Exception))
        c.fail(fault.name + ": " + v);

    // The host mends what it broke; the next good frame is the frame of a host that never faulted.
    host.faults().clear();
    if (setupFailed) host.globalSetup();
    if (setupFailed || paramsFailed) {
        host.paramsSetup();
        check::setDefaults(host);
    }
    check::fillMark(output);
    c.step(fault.name + ": the next good frame");
    const PF_Err err = host.renderFrame(input, output);
    if (c.check(err == PF_Err_NONE, fault.name + ": the next good frame returned " + codeText(err))) {
        const std::string diff = check::difference(output, reference);
        c.check(diff.empty(), fault.name + ": the next good frame is wrong: " + diff);
    }
    c.step(fault.name + ": PF_Cmd_GLOBAL_SETDOWN");
    host.globalSetdown();
}

// Each callback failing on every call, or, at the full level, on each call of the clean run in turn.
std::vector<FaultCase> callbackCases(ValidationContext& c, const Clean& clean, bool memory) {
    std::vector<FaultCase> cases;
    std::string unused;
    for (Callback callback : kAllCallbacks) {
        const bool allocates = callback == Callback::NewHandle || callback == Callback::ResizeHandle ||
                               callback == Callback::NewMemHandle || callback == Callback::AllocateBlock;
        if (allocates != memory) continue;
        const int calls = clean.calls.at(callback);
        if (calls == 0) unused += (unused.empty() ? "" : ", ") + std::string(callbackName(callback));
        const std::string verb = memory ? " refused" : " fails";
        if (!c.full() || calls <= 1) {
            FaultCase fault{std::string(callbackName(callback)) + verb + (calls > 1 ? " every time" : ""),
                            FaultPlan()};
            fault.plan.faults = {{callback, kInjected, 0, -1}};
            cases.push_back(fault);
            continue;
        }
        for (int call = 1; call <= calls; ++call) {
            FaultCase fault{std::string(callbackName(callback)) + verb + " on call " + std::to_string(call) +
                                " of " + std::to_string(calls),
                            FaultPlan()};
            fault.plan.faults = {{callback, kInjected, call, -1}};
            cases.push_back(fault);
        }
    }
    if (!unused.empty()) c.note("never called by the sequence, so their failure changes nothing: " + unused);
    return cases;
}

void runCases(ValidationContext& c, const Clean& clean, const std::vector<FaultCase>& cases) {
    for (const FaultCase& fault : cases) runCase(c, fault, *clean.frame);
    c.note(std::to_string(cases.size()) + " fault cases");
}

}  // namespace

void suiteFaults(ValidationContext& c) {
    const Clean clean = cleanRun(c);
    if (!clean.frame) return;
    std::vector<FaultCase> cases;
    for (const std::string& suite : HostSuites::servedSuiteNames()) {
        FaultCase missing{"\"" + suite + "\" missing", FaultPlan()};
        missing.plan.missingSuites = {suite};
        cases.push_back(missing);
        FaultCase null{"\"" + suite + "\" acquired with a null table", FaultPlan()};
        null.plan.nullTableSuites = {suite};
        cases.push_back(null);
    }
    runCases(c, clean, cases);
}

void callbackFaults(ValidationContext& c) {
    const Clean clean = cleanRun(c);
    if (!clean.frame) return;
    std::vector<FaultCase> cases = callbackCases(c, clean, false);
    FaultCase empty{"checkout_layer_pixels gives no world", FaultPlan()};
    empty.plan.nullInputWorld = true;
    cases.push_back(empty);
    runCases(c, clean, cases);
}

void memoryFaults(ValidationContext& c) {
    const Clean clean = cleanRun(c);
    if (!clean.frame) return;
    runCases(c, clean, callbackCases(c, clean, true));
}

void allocationFaults(ValidationContext& c) {
    const Clean clean = cleanRun(c);
    if (!clean.frame) return;
    const long total = clean.allocations;
    if (total == 0) {
        c.note("the bundle's own code allocated nothing with operator new in the sequence; nothing to refuse");
        return;
    }
    // The quick level refuses the first, the last and a few spread between; the full level each.
    std::vector<long> chosen;
    const long picks = c.full() ? total : std::min<long>(total, 8);
    for (long i = 0; i < picks; ++i) {
        const long n = picks == 1 ? 1 : 1 + i * (total - 1) / (picks - 1);
        if (chosen.empty() || chosen.back() != n) chosen.push_back(n);
    }
    std::vector<FaultCase> cases;
    for (long n : chosen) {
        cases.push_back({"allocation " + std::to_string(n) + " of " + std::to_string(total) +
                             " made by the bundle's code refused",
                         FaultPlan(), n});
    }
    runCases(c, clean, cases);
}

}  // namespace checks
}  // namespace fxhost
