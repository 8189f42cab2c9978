#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "Float.h"

using namespace Ostrivane::GaussianBlur;

static std::uint64_t bitsOf(double v) {
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

TEST(Float, ConstantsAreTheExactDoubles) {
    EXPECT_EQ(bitsOf(kTolerance), 0x3D719799812DEA11u);
    EXPECT_EQ(bitsOf(kDegreesToRadians), 0x3F91DF46A2529CE4u);
    EXPECT_EQ(bitsOf(kRadiansToDegrees), 0x404CA5DC1A63C1F8u);
    // The 14-digit factor is not pi/180: half a turn falls short of pi by about 5.3e-14.
    EXPECT_NEAR(M_PI - degreesToRadians(180.0), 5.28e-14, 0.01e-14);
}

TEST(Float, CyclicDifferenceRemovesOnePeriodAtMost) {
    EXPECT_EQ(cyclicDifference(350.0, 10.0, 360.0), -20.0);
    EXPECT_EQ(cyclicDifference(10.0, 350.0, 360.0), 20.0);
    EXPECT_EQ(cyclicDifference(190.0, 10.0, 360.0), 180.0);
    EXPECT_EQ(cyclicDifference(10.0, 190.0, 360.0), -180.0);
    EXPECT_EQ(cyclicDifference(1090.0, 0.0, 360.0), 730.0);
    EXPECT_EQ(cyclicDifference(-1090.0, 0.0, 360.0), -730.0);
}
