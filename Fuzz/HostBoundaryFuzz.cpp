// Fuzzes the host boundary: the bytes choose the worlds (size, padding, depth, and lies in
// the definitions lent to the effect), the two parameter values (NaN, infinities, huge
// numbers), and a fault for the host to inject; one pre-render and one render run through
// the stand-in host. The effect must answer 0 or a documented code, write nothing outside
// the worlds, release every suite and handle, and leave the host's context current; an
// honest frame with known settings must come out right.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "EffectHost.h"
#include "FuzzHost.h"
#include "KnownFrames.h"

using fxhost::Callback;
using fxhost::Depth;
using fxhost::EffectHost;
using fxhost::FaultPlan;
using fxhost::HostWorld;

namespace {

[[noreturn]] void finding(const std::string& what) { fuzzhost::finding("host boundary", what); }

EffectHost& host() { return fuzzhost::effect("host boundary"); }

double parameterValue(FuzzedDataProvider& data) {
    switch (data.ConsumeIntegralInRange(0, 9)) {
        case 0:
            return std::numeric_limits<double>::quiet_NaN();
        case 1:
            return std::numeric_limits<double>::infinity();
        case 2:
            return -std::numeric_limits<double>::infinity();
        case 3:
            return std::numeric_limits<double>::max();
        case 4:
            return -std::numeric_limits<double>::max();
        case 5:
            return std::numeric_limits<double>::denorm_min();
        case 6:
            return 1e30;  // beyond float: narrows to infinity
        default:
            return data.ConsumeFloatingPoint<double>();
    }
}

Depth depth(FuzzedDataProvider& data) {
    const int code = data.ConsumeIntegralInRange(0, 5);
    return code == 4 ? Depth::Sixteen : code == 5 ? Depth::Float : Depth::Eight;
}

// A lie the effect must see through: it never claims more memory than the world has, except
// with sizes no driver can render, which must be refused before any pixel is read.
void lie(FuzzedDataProvider& data, PF_LayerDef& def) {
    switch (data.ConsumeIntegralInRange(0, 11)) {
        case 0:
            def.rowbytes =
                data.ConsumeIntegralInRange<A_long>(std::numeric_limits<A_long>::min(), def.rowbytes);
            break;
        case 1:
            def.width = -data.ConsumeIntegralInRange<A_long>(1, std::numeric_limits<A_long>::max());
            break;
        case 2:
            def.height = -data.ConsumeIntegralInRange<A_long>(1, std::numeric_limits<A_long>::max());
            break;
        case 3:
            def.width = data.ConsumeIntegralInRange<A_long>(0, def.width);
            break;
        case 4:
            def.height = data.ConsumeIntegralInRange<A_long>(0, def.height);
            break;
        case 5:
            def.width = data.ConsumeIntegralInRange<A_long>(1 << 20, std::numeric_limits<A_long>::max());
            def.height = data.ConsumeIntegralInRange<A_long>(1, std::numeric_limits<A_long>::max());
            def.rowbytes = data.ConsumeIntegralInRange<A_long>(std::numeric_limits<A_long>::min(),
                                                               std::numeric_limits<A_long>::max());
            break;
        case 6:
            def.data = nullptr;
            break;
        default:
            break;  // honest
    }
}

FaultPlan fault(FuzzedDataProvider& data, PF_Err& code) {
    static const char* const kSuites[] = {"PF ANSI Suite",         "PF Handle Suite",
                                          "PF iterateFloat Suite", "AEGP PF Interface Suite",
                                          "AEGP Layer Suite",      "AEGP Item Suite"};
    FaultPlan plan;
    code = data.ConsumeIntegral<PF_Err>();
    if (code == PF_Err_NONE) code = PF_Interrupt_CANCEL;
    switch (data.ConsumeIntegralInRange(0, 4)) {
        case 0:
            plan.missingSuites = {kSuites[data.ConsumeIntegralInRange(0, 5)]};
            break;
        case 1:
            plan.nullTableSuites = {kSuites[data.ConsumeIntegralInRange(0, 5)]};
            break;
        case 2: {
            const auto callback =
                static_cast<Callback>(data.ConsumeIntegralInRange(0, static_cast<int>(Callback::NewHandle)));
            plan.faults = {
                {callback, code, data.ConsumeIntegralInRange(0, 3), data.ConsumeIntegralInRange(-1, 3)}};
            break;
        }
        case 3:
            plan.nullInputWorld = true;
            break;
        default:
            break;  // none
    }
    return plan;
}

bool documented(PF_Err err, PF_Err injected) {
    return err == PF_Err_NONE || err == PF_Err_BAD_CALLBACK_PARAM || err == PF_Err_OUT_OF_MEMORY ||
           err == injected;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzedDataProvider data(bytes, size);
    EffectHost& effect = host();

    const Depth inDepth = depth(data), outDepth = depth(data);
    const int inWidth = data.ConsumeIntegralInRange(0, 40), inHeight = data.ConsumeIntegralInRange(0, 40);
    const bool sameSize = data.ConsumeBool();
    const int outWidth = sameSize ? inWidth : data.ConsumeIntegralInRange(0, 40);
    const int outHeight = sameSize ? inHeight : data.ConsumeIntegralInRange(0, 40);
    HostWorld input(inWidth, inHeight, inDepth, data.ConsumeIntegralInRange(0, 40));
    HostWorld output(outWidth, outHeight, outDepth, data.ConsumeIntegralInRange(0, 40));
    known::fillPattern(input);
    const PF_LayerDef honestInput = *input.def(), honestOutput = *output.def();
    lie(data, *input.def());
    lie(data, *output.def());
    const bool honest = std::memcmp(&honestInput, input.def(), sizeof honestInput) == 0 &&
                        std::memcmp(&honestOutput, output.def(), sizeof honestOutput) == 0;

    // Known settings half the time, so that a good frame can be checked.
    const known::Settings* settings = nullptr;
    if (data.ConsumeBool()) {
        static const known::Settings kKnown[] = {known::kTurned, known::kNeutral, known::kGreyed};
        settings = &kKnown[data.ConsumeIntegralInRange(0, 2)];
        effect.setParamValue(1, settings->hue);
        effect.setParamValue(2, settings->saturation);
    } else {
        effect.setParamValue(1, parameterValue(data));
        effect.setParamValue(2, parameterValue(data));
    }
    PF_Err injected = PF_Err_NONE;
    effect.faults() = fault(data, injected);
    effect.suites().resetCalls();  // a fault's call number counts from this frame
    const bool faultFree = effect.faults().missingSuites.empty() && effect.faults().nullTableSuites.empty() &&
                           effect.faults().faults.empty() && !effect.faults().nullInputWorld;

    PF_RenderRequest request = PF_RenderRequest();
    request.rect = PF_LRect{data.ConsumeIntegral<A_long>(), data.ConsumeIntegral<A_long>(),
                            data.ConsumeIntegral<A_long>(), data.ConsumeIntegral<A_long>()};
    PF_PreRenderOutput preOutput = PF_PreRenderOutput();
    const PF_Err preErr = effect.smartPreRender(request, preOutput, &input);
    const PF_Err err = effect.smartRender(&input, &output);
    effect.faults().clear();

    if (!documented(preErr, injected)) finding("pre-render returned " + std::to_string(preErr));
    if (!documented(err, injected)) finding("render returned " + std::to_string(err));
    if (!effect.violations().empty()) finding(effect.violations().front());
    if (!input.guardsIntact() || !output.guardsIntact()) finding("guard bytes written");
    if (!effect.glContext()->isCurrent()) finding("host context not current");
    if (honest && faultFree && settings && inDepth == Depth::Eight && outDepth == Depth::Eight && sameSize) {
        if (err != PF_Err_NONE) finding("an honest frame failed with " + std::to_string(err));
        const std::string wrong = known::checkPattern(output, *settings);
        if (!wrong.empty()) finding(wrong);
    }
    return 0;
}
