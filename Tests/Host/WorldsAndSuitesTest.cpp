// The stand-in host's worlds, suites and answers.
#include <gtest/gtest.h>

#include "HostFixture.h"
#include "HostSuites.h"
#include "HostWorld.h"
#include "PFSuites.h"

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

// Each pixel of the overlap once, with the source pixel at the same place; float worlds only.
TEST(HostSuites, IterateVisitsEachPixelOfTheOverlapOnce) {
    fxhost::FaultPlan plan;
    fxhost::HostSuites suites(plan);
    const void* table = nullptr;
    ASSERT_EQ(suites.basicSuite()->AcquireSuite(kPFIterateFloatSuite, kPFIterateFloatSuiteVersion1, &table),
              kSPNoError);
    const auto* suite = static_cast<const PF_iterateFloatSuite1*>(table);
    HostWorld src(5, 2, Depth::Float), dst(3, 4, Depth::Float), eight(3, 2, Depth::Eight);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 5; ++x) {
            const float argb[4] = {float(x), float(y), 0, 0};
            src.setPixel(x, y, argb);
        }
    auto add = [](void* refcon, A_long, A_long, PF_PixelFloat* in, PF_PixelFloat* out) -> PF_Err {
        ++*static_cast<int*>(refcon);
        *out = PF_PixelFloat{in->alpha, in->red, out->green + 7, 7};
        return PF_Err_NONE;
    };
    int visits = 0;
    ASSERT_EQ(suite->iterate(nullptr, 0, 0, src.def(), nullptr, &visits, add, dst.def()), PF_Err_NONE);
    EXPECT_EQ(visits, 6);  // 3 x 2
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 3; ++x) {
            const bool inside = y < 2;
            float argb[4];
            dst.getPixel(x, y, argb);
            EXPECT_EQ(argb[0], inside ? x : 0) << x << "," << y;
            EXPECT_EQ(argb[1], inside ? y : 0) << x << "," << y;
            EXPECT_EQ(argb[2], inside ? 7 : 0) << x << "," << y;
        }
    EXPECT_TRUE(dst.guardsIntact());

    EXPECT_EQ(suite->iterate(nullptr, 0, 0, eight.def(), nullptr, &visits, add, dst.def()),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(suite->iterate(nullptr, 0, 0, src.def(), nullptr, &visits, add, eight.def()),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(visits, 6);
}

// An effect may ask for a parameter at a time in a scale of its own: the host answers the value
// at that moment. The host runs at 24 frames a second (time_scale 2400, time_step 100) and the hue
// is keyed from 0 at frame 0 to 240 at frame 48, 5 a frame.
TEST_F(HostFixture, AParameterCheckedOutInAnotherTimeScaleIsReadAtThatTime) {
    setUpEffect();
    host->setParamCurve(1, fxhost::ParameterCurve({{0, 0.0}, {48, 240.0}}));
    host->inData().time_scale = 2400;
    host->inData().time_step = 100;
    const struct {
        A_long time;
        A_u_long scale;
        double hue;
    } cases[] = {{1000, 1000, 120.0}, {500, 1000, 60.0}, {200, 2400, 10.0}, {300, 0, 15.0}};
    for (const auto& c : cases) {
        PF_ParamDef def{};
        ASSERT_EQ(host->inData().inter.checkout_param(host->inData().effect_ref, 1, c.time, 1, c.scale, &def),
                  PF_Err_NONE);
        EXPECT_DOUBLE_EQ(def.u.fs_d.value, c.hue) << c.time << " in " << c.scale;
    }
}
