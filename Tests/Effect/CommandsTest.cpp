#include <cstring>
#include <string>

#include "HostFixture.h"

using fxhost::Callback;

TEST_F(HostFixture, AboutAndGlobalSetupDeclareNameVersionAndOnlySmartRender) {
    EXPECT_EQ(host->about(), PF_Err_NONE);
    // The effect's own version, 1.0, whatever the project's: hosts check the effect against it.
    EXPECT_STREQ(host->outData().return_msg, "Ostrivane Hue And Saturation v1.0\rOstrivane Hue And Saturation");
    EXPECT_EQ(host->suites().acquired("PF ANSI Suite"), 1);
    EXPECT_EQ(host->suites().released("PF ANSI Suite"), 1);

    host->outData().out_flags = 0x7fffffff;
    host->outData().out_flags2 = 0x7fffffff;
    EXPECT_EQ(host->globalSetup(), PF_Err_NONE);
    // 1.0.0, stage develop, build 1, packed: major in bits 19 up, minor from 15, bug from 11.
    EXPECT_EQ(host->outData().my_version, 0x80001u);
    EXPECT_EQ(host->outData().out_flags, 0);
    EXPECT_EQ(host->outData().out_flags2, 0x400);
}

TEST_F(HostFixture, ParamsSetupRegistersBothSlidersFieldByFieldAndStopsAtAFailure) {
    setUpEffect();
    ASSERT_EQ(host->paramsSetup(), PF_Err_NONE);  // a second set-up registers the same two again
    EXPECT_EQ(host->outData().num_params, 3);
    ASSERT_EQ(host->params().size(), 3u);

    struct Expected {
        const char* name;
        float max;
        double value;
        short precision;
    } expected[] = {{"Hue Value", 360.0f, 0.0, 1}, {"Saturation", 2.0f, 1.0, 2}};
    for (int i = 0; i < 2; ++i) {
        SCOPED_TRACE(expected[i].name);
        // Build the record the effect must have sent, independently, and compare every byte.
        PF_ParamDef want;
        std::memset(&want, 0, sizeof want);
        want.uu.id = i + 1;
        want.param_type = 10;
        std::strcpy(want.name, expected[i].name);
        want.u.fs_d.value = expected[i].value;
        want.u.fs_d.valid_max = want.u.fs_d.slider_max = expected[i].max;
        want.u.fs_d.dephault = static_cast<float>(expected[i].value);
        want.u.fs_d.precision = expected[i].precision;
        want.u.fs_d.curve_tolerance = 0.05f;
        EXPECT_STREQ(host->params()[i + 1].name, expected[i].name);
        EXPECT_EQ(std::memcmp(&host->params()[i + 1], &want, sizeof want), 0)
            << "a field differs from the table";
    }

    // A failing add_param ends the set-up at once with its code; what came before stays registered.
    host->suites().resetCalls();
    host->faults().faults = {{Callback::AddParam, PF_Err_INVALID_INDEX, 2}};
    EXPECT_EQ(host->paramsSetup(), PF_Err_INVALID_INDEX);
    EXPECT_EQ(host->suites().calls(Callback::AddParam), 2);
    ASSERT_EQ(host->params().size(), 2u);
    EXPECT_STREQ(host->params()[1].name, "Hue Value");
}

TEST_F(HostFixture, UnknownSelectorsReturnZeroAndTouchNothing) {
    std::memset(&host->outData(), 0x5c, sizeof(PF_OutData));
    PF_OutData before;
    std::memcpy(&before, &host->outData(), sizeof before);
    for (PF_Cmd cmd : {2, 5, 9, 11, 17, 22, 25, 99, -1}) {
        EXPECT_EQ(host->send(cmd), PF_Err_NONE) << cmd;
        EXPECT_EQ(std::memcmp(&before, &host->outData(), sizeof before), 0) << cmd;
    }
}
