#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "Color.h"

using namespace Ostrivane::GaussianBlur;

static void expectColor(const Color& c, double r, double g, double b, double a) {
    EXPECT_EQ(c.r(), r);
    EXPECT_EQ(c.g(), g);
    EXPECT_EQ(c.b(), b);
    EXPECT_EQ(c.a(), a);
}

TEST(Color, TextIsAlphaFirstAndMalformedTextIsWhiteOrWhatStoullRaises) {
    for (const char* text : {"", "FF0000", " #FF0000", "#FF000", "#1234567"})
        expectColor(Color(std::string(text)), 1.0, 1.0, 1.0, 1.0);
    EXPECT_THROW(Color(std::string("#")), std::invalid_argument);
    EXPECT_THROW(Color(std::string("#GG")), std::invalid_argument);
    EXPECT_THROW(Color(std::string("#1FFFFFFFFFFFFFFFF")), std::out_of_range);
    // Three characters select #RGB, though stoull stops at G and reads 0x12; single-precision quotients.
    expectColor(Color(std::string("#12G")), 0.0, 0.06666667014360428, 0.13333334028720856, 1.0);
    expectColor(Color(std::string("#8F00")), 1.0, 0.0, 0.0, 0.5333333611488342);
    EXPECT_EQ(Color(std::string("#80FF0000")).a(), 0.501960813999176);
    EXPECT_TRUE(Color(std::string("#80FF0000")) == Color(0x80FF0000u));
    expectColor(Color(0x00FF0000u), 1.0, 0.0, 0.0, 0.0);
}
