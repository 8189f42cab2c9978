#include "HostWorld.h"

#include <gtest/gtest.h>

#include <vector>

using fxhost::Depth;
using fxhost::HostWorld;

namespace {

uint8_t* Byte(HostWorld& world, int y, int offset) {
    return static_cast<uint8_t*>(world.def()->data) + y * world.rowbytes() + offset;
}

}  // namespace

TEST(HostWorld, PaddingRoundsUpToWholePixels) {
    // 3 pixels wide; 5 bytes of padding become 2, 1 and 1 whole pixels.
    EXPECT_EQ(HostWorld(3, 1, Depth::Eight, 5).rowbytes(), 3 * 4 + 8);
    EXPECT_EQ(HostWorld(3, 1, Depth::Sixteen, 5).rowbytes(), 3 * 8 + 8);
    EXPECT_EQ(HostWorld(3, 1, Depth::Float, 5).rowbytes(), 3 * 16 + 16);
    EXPECT_EQ(HostWorld(3, 1, Depth::Float, 0).rowbytes(), 3 * 16);
}

TEST(HostWorld, GuardsCatchAWriteOneBytePastARowOrTheLastRow) {
    HostWorld world(3, 2, Depth::Eight);
    EXPECT_TRUE(world.guardsIntact());
    *Byte(world, 0, 3 * 4 - 1) = 1;  // the last byte of row 0's last pixel is the world's own
    *Byte(world, 1, 3 * 4 - 1) = 1;
    EXPECT_TRUE(world.guardsIntact());

    *Byte(world, 0, 3 * 4) = 0;
    EXPECT_FALSE(world.guardsIntact());
    *Byte(world, 0, 3 * 4) = HostWorld::kGuardByte;
    EXPECT_TRUE(world.guardsIntact());

    *Byte(world, 2, 0) = 0;  // the first byte after the last row's padding
    EXPECT_FALSE(world.guardsIntact());
}

TEST(HostWorld, StartsClearAndPixelBytesHoldThePixelsRowByRowWithoutPadding) {
    HostWorld world(2, 2, Depth::Eight, 4);
    EXPECT_EQ(world.pixelBytes(), std::vector<uint8_t>(2 * 2 * 4, 0));
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x) {
            const float argb[4] = {float(10 * y + x), 1, 2, 3};
            world.setPixel(x, y, argb);
        }
    const std::vector<uint8_t> expected = {0, 1, 2, 3, 1, 1, 2, 3, 10, 1, 2, 3, 11, 1, 2, 3};
    EXPECT_EQ(world.pixelBytes(), expected);
}
