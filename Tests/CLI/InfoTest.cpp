#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "CommandRunner.h"

TEST(FxhostInfo, PrintsAboutVersionFlagsAndParameters) {
    const CommandResult r = runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " info");
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("Ostrivane Hue And Saturation v1.0\nOstrivane Hue And Saturation\n"),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("Version:    1.0.0 (develop, build 1)"), std::string::npos);
    EXPECT_NE(r.out.find("out_flags:  none"), std::string::npos);
    EXPECT_NE(r.out.find("out_flags2: PF_OutFlag2_SUPPORTS_SMART_RENDER\n"), std::string::npos);
    EXPECT_NE(
        r.out.find("1  Hue Value    float slider  valid 0 to 360  slider 0 to 360  default 0  precision 1"),
        std::string::npos);
    EXPECT_NE(r.out.find("2  Saturation   float slider  valid 0 to 2  slider 0 to 2  default 1  precision 2"),
              std::string::npos);
}

TEST(FxhostInfo, BundleThatIsMissingOrNotAnEffectIsAClearError) {
    CommandResult r = runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " info --plugin /no/such.plugin");
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find("cannot load effect bundle '/no/such.plugin'"), std::string::npos) << r.err;

    r = runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " info --plugin /lib/x86_64-linux-gnu/libm.so.6");
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find("does not export EntryPointFunc"), std::string::npos) << r.err;
}
