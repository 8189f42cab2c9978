// Every fault the stand-in host can inject, once each, over the whole command sequence:
// set-up, parameters, about, pre-render, render, then a good frame and set-down.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "EffectHost.h"
#include "KnownFrames.h"

using fxhost::Callback;
using fxhost::Depth;
using fxhost::EffectHost;
using fxhost::FaultPlan;
using fxhost::HostWorld;

namespace {

constexpr PF_Err kCode = PF_Interrupt_CANCEL;  // what the failing callbacks answer

// What the host must get back from each command under one fault, and the failed frame's output:
// nullopt where it must be left as it was, else what the frame draws with the parameter values it
// managed to read.
struct Expect {
    PF_Err params, about, preRender, render;
    std::optional<known::Settings> drawn;
};

struct Case {
    std::string name;
    FaultPlan plan;
    Expect expect;
};

std::vector<Case> matrix() {
    const auto missing = [](const char* suite) { return FaultPlan{{suite}, {}, {}, false}; };
    const auto nullTable = [](const char* suite) { return FaultPlan{{}, {suite}, {}, false}; };
    const auto failing = [](Callback callback, int onCall = 0, int paramIndex = -1) {
        return FaultPlan{{}, {}, {{callback, kCode, onCall, paramIndex}}, false};
    };
    const PF_Err bad = PF_Err_BAD_CALLBACK_PARAM, unread = PF_Err_INVALID_INDEX;
    const Expect fine{0, 0, 0, 0, known::kTurned}, aboutFails{0, bad, 0, 0, known::kTurned},
        untouched516{0, 0, 0, bad, std::nullopt}, untouched{0, 0, 0, kCode, std::nullopt},
        bothRead{0, 0, 0, kCode, known::kTurned};
    std::vector<Case> cases;
    // Suites the effect calls: the command that needs one fails with 516, whether the host
    // says it has none or hands back a null table.
    cases.push_back({"missing PF ANSI Suite", missing("PF ANSI Suite"), aboutFails});
    cases.push_back({"null PF ANSI Suite", nullTable("PF ANSI Suite"), aboutFails});
    for (const char* suite :
         {"PF Handle Suite", "AEGP PF Interface Suite", "AEGP Layer Suite", "AEGP Item Suite"})
        cases.push_back({std::string("missing ") + suite, missing(suite), untouched516});
    cases.push_back({"null PF Handle Suite", nullTable("PF Handle Suite"), untouched516});
    // Held for the frame but never called: a null table costs nothing.
    for (const char* suite : {"AEGP PF Interface Suite", "AEGP Layer Suite", "AEGP Item Suite"})
        cases.push_back({std::string("null ") + suite, nullTable(suite), fine});
    // Suites the frame never asks for.
    for (const char* suite :
         {"PF iterateFloat Suite", "AEGP Utility Suite", "AEGP Memory Suite", "DRAWBOT Draw Suite",
          "DRAWBOT Supplier Suite", "DRAWBOT Surface Suite", "DRAWBOT Path Suite"})
        cases.push_back({std::string("missing ") + suite, missing(suite), fine});

    // Callbacks. The frame after a failed parameter set-up reads no parameters at all; without the
    // saturation registered, its record still holds the hue. Parameter failures end a complete
    // frame with the first code: an unread hue is 0, with the saturation still read; an unread
    // saturation holds the hue.
    const Expect noParams{kCode, 0, 0, unread, known::kGreyed},
        noSaturation{kCode, 0, 0, unread, known::kOverdriven}, preRenderFails{0, 0, kCode, 0, known::kTurned},
        hueUnread{0, 0, 0, kCode, known::kNeutral}, saturationUnread{0, 0, 0, kCode, known::kOverdriven};
    cases.push_back({"add_param fails for Hue Value", failing(Callback::AddParam, 1), noParams});
    cases.push_back({"add_param fails for Saturation", failing(Callback::AddParam, 2), noSaturation});
    cases.push_back({"checkout_layer fails", failing(Callback::CheckoutLayer), preRenderFails});
    cases.push_back({"checkout_layer_pixels fails", failing(Callback::CheckoutLayerPixels), untouched});
    cases.push_back({"checkout_output fails", failing(Callback::CheckoutOutput), untouched});
    cases.push_back(
        {"checkout_param fails for Hue Value", failing(Callback::CheckoutParam, 0, 1), hueUnread});
    cases.push_back(
        {"checkout_param fails for Saturation", failing(Callback::CheckoutParam, 0, 2), saturationUnread});
    cases.push_back({"checkin_param fails after Hue Value", failing(Callback::CheckinParam, 1), bothRead});
    cases.push_back({"checkin_param fails after Saturation", failing(Callback::CheckinParam, 2), bothRead});
    // An 8-bit frame never iterates.
    cases.push_back({"iterate fails", failing(Callback::Iterate), fine});
    cases.push_back({"host_new_handle gives null", failing(Callback::NewHandle), untouched516});
    cases.push_back({"checkout_layer_pixels gives no world", FaultPlan{{}, {}, {}, true}, untouched516});
    return cases;
}

class FaultMatrix : public ::testing::TestWithParam<Case> {};

TEST_P(FaultMatrix, CodesOutputSuitesContextAndRecovery) {
    const Case& c = GetParam();
    EffectHost host(OSTRIVANE_BUNDLE_PATH);
    HostWorld input(7, 5, Depth::Eight), output(7, 5, Depth::Eight);
    known::fillPattern(input);
    const float mark[4] = {1, 2, 3, 4};
    output.fill(mark);
    const std::vector<uint8_t> marked = output.pixelBytes();

    host.faults() = c.plan;
    EXPECT_EQ(host.globalSetup(), PF_Err_NONE);
    EXPECT_EQ(host.paramsSetup(), c.expect.params);
    host.setParamValue(1, known::kTurned.hue);
    host.setParamValue(2, known::kTurned.saturation);
    std::memset(host.outData().return_msg, 0, sizeof host.outData().return_msg);
    host.outData().out_flags = 0;
    EXPECT_EQ(host.about(), c.expect.about);
    if (c.expect.about != PF_Err_NONE) {  // no message, none shown
        EXPECT_STREQ(host.outData().return_msg, "");
        EXPECT_EQ(host.outData().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    }

    PF_RenderRequest request = PF_RenderRequest();
    request.rect = PF_LRect{0, 0, input.width(), input.height()};
    PF_PreRenderOutput preOutput = PF_PreRenderOutput();
    EXPECT_EQ(host.smartPreRender(request, preOutput, &input), c.expect.preRender);
    EXPECT_EQ(host.smartRender(&input, &output), c.expect.render);
    if (c.expect.drawn) {
        EXPECT_EQ(known::checkPattern(output, *c.expect.drawn), "");
    } else {
        EXPECT_EQ(output.pixelBytes(), marked);
    }
    EXPECT_EQ(host.checkinLayerPixelsCalls(), 0);
    EXPECT_EQ(host.suites().unbalanced(), "");
    EXPECT_EQ(host.suites().liveHandles(), 0);
    ASSERT_TRUE(host.glContext()->isCurrent());
    EXPECT_TRUE(host.violations().empty()) << host.violations().front();

    // The host mends what it broke (the parameters set up again); the next frame is right.
    host.faults().clear();
    ASSERT_EQ(host.paramsSetup(), PF_Err_NONE);
    host.setParamValue(1, known::kTurned.hue);
    host.setParamValue(2, known::kTurned.saturation);
    output.fill(mark);
    ASSERT_EQ(host.renderFrame(input, output), PF_Err_NONE);
    EXPECT_EQ(known::checkPattern(output, known::kTurned), "");
    EXPECT_EQ(host.globalSetdown(), PF_Err_NONE);
    EXPECT_TRUE(host.violations().empty()) << host.violations().front();
}

std::string caseName(const ::testing::TestParamInfo<Case>& info) {
    std::string name;
    for (char ch : info.param.name) name += std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(EveryFault, FaultMatrix, ::testing::ValuesIn(matrix()), caseName);

}  // namespace
