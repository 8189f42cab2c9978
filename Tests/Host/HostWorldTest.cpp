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
