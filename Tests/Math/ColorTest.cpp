#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>

#include "Color.h"

using namespace Ostrivane::GaussianBlur;

static void expectColor(const Color& c, double r, double g, double b, double a)
{
    EXPECT_EQ(c.r(), r);
    EXPECT_EQ(c.g(), g);
    EXPECT_EQ(c.b(), b);
    EXPECT_EQ(c.a(), a);
}

TEST(Color, MalformedTextIsOpaqueWhiteOrRaisesWhatStoullRaises)
{
    expectColor(Color(std::string()), 1.0, 1.0, 1.0, 1.0);
    expectColor(Color(std::string("FF0000")), 1.0, 1.0, 1.0, 1.0);
    expectColor(Color(std::string(" #FF0000")), 1.0, 1.0, 1.0, 1.0);
    expectColor(Color(std::string("#FF000")), 1.0, 1.0, 1.0, 1.0);
    expectColor(Color(std::string("#1234567")), 1.0, 1.0, 1.0, 1.0);
    EXPECT_THROW(Color(std::string("#")), std::invalid_argument);
    EXPECT_THROW(Color(std::string("#GG")), std::invalid_argument);
    EXPECT_THROW(Color(std::string("#1FFFFFFFFFFFFFFFF")), std::out_of_range);
    // Three characters select #RGB, though stoull stops at G and reads 0x12.
    expectColor(Color(std::string("#12G")), 0.0, 0.06666667014360428, 0.13333334028720856, 1.0);
}

TEST(Color, TextAndValuesPutAlphaFirstInSinglePrecision)
{
    expectColor(Color(std::string("#F00")), 1.0, 0.0, 0.0, 1.0);
    expectColor(Color(std::string("#8F00")), 1.0, 0.0, 0.0, 0.5333333611488342);
    expectColor(Color(std::string("#FF0000")), 1.0, 0.0, 0.0, 1.0);
    expectColor(Color(std::string("#80FF0000")), 1.0, 0.0, 0.0, 0.501960813999176);
    expectColor(Color(0x80FF0000u), 1.0, 0.0, 0.0, 0.501960813999176);
    expectColor(Color(0x00FF0000u), 1.0, 0.0, 0.0, 0.0);
    expectColor(Color(0x12345678u), 0x34 / 255.0f, 0x56 / 255.0f, 0x78 / 255.0f, 0x12 / 255.0f);
}

TEST(Color, PrintingTruncatesAndDropsLeadingZeros)
{
    EXPECT_EQ(Color().toHexString(), "#FFFFFF");
    EXPECT_EQ(Color(0.0, 0.0, 0.0, 1.0).toHexString(), "#000");
    EXPECT_EQ(Color(0.0, 0.0, 0.0, 0.5).toHexString(), "#7F000");
    EXPECT_EQ(Color(1.0, 0.0, 0.5, 1.0).toHexString(), "#FF07F");
    // The round trip that fails: one-digit channels print as #ABC, a different colour.
    Color read(std::string("#0A0B0C"));
    EXPECT_EQ(read.toHexString(), "#ABC");
    EXPECT_NE(Color(std::string("#ABC")), read);
    // Every byte comes back whole through the single-precision channel.
    for (unsigned int byte = 0; byte < 256; ++byte) {
        char expected[16];
        std::snprintf(expected, sizeof(expected), "#00%X", byte);
        EXPECT_EQ(Color(0xFF000000u | byte).toHexString(), expected) << byte;
    }
    // Out of range and NaN are held to 00 and FF; a nil colour prints as transparent black.
    EXPECT_EQ(Color(2.0, -1.0, std::nan(""), 1.0).toHexString(), "#FF00");
    Color nil;
    nil.setNil();
    EXPECT_EQ(nil.toHexString(), "#0000");
}

TEST(Color, NilColoursAreAllEqual)
{
    Color nil;
    nil.setNil();
    EXPECT_TRUE(nil.isNil());
    EXPECT_TRUE(Color(0.0, 0.0, 0.0, -0.5).isNil());
    EXPECT_FALSE(Color().isNil());
    EXPECT_FALSE(Color(-0.0, std::nan(""), 0.0, 0.0).isNil());
    EXPECT_TRUE(nil == Color(-2.0, 0.0, 0.0, 0.0));
    EXPECT_FALSE(nil == Color(0.0, 0.0, 0.0, 0.0));
    EXPECT_TRUE(Color(0.5, 0.5, 0.5, 1.0) == Color(0.5 + 1e-12, 0.5, 0.5, 1.0));
    EXPECT_TRUE(Color(0.5, 0.5, 0.5, 1.0) != Color(0.5, 0.5, 0.5 + 2e-12, 1.0));
    EXPECT_TRUE((Color(0.2, 0.0, 0.0, 1.0) - Color(0.5, 0.0, 0.0, 1.0)).isNil());
    expectColor(Color(0.5, 1.0, 0.25, 1.0) * 2.0, 1.0, 2.0, 0.5, 2.0);
}

TEST(Color, LerpClampsTAndRoundsTheFirstWeight)
{
    const Color white, black(0.0, 0.0, 0.0, 1.0);
    expectColor(Color::lerp(white, black, -1.0), 1.0, 1.0, 1.0, 1.0);
    expectColor(Color::lerp(white, black, 2.0), 0.0, 0.0, 0.0, 1.0);
    // The weight on white is 0.7 in single precision, so alpha misses 1.
    const Color blend = Color::lerp(white, black, 0.3);
    EXPECT_EQ(blend.r(), 0.699999988079071);
    EXPECT_EQ(blend.a(), 0.699999988079071 + 0.3);
    EXPECT_NE(blend.a(), 1.0);
}
