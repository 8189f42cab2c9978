#include "HostSuites.h"

#include <gtest/gtest.h>

#include "HostWorld.h"
#include "PFSuites.h"

using fxhost::Callback;
using fxhost::Depth;
using fxhost::Fault;
using fxhost::HostWorld;

namespace {

class HostSuitesTest : public ::testing::Test {
protected:
    HostSuitesTest() : suites(plan) {}

    template <typename T>
    const T* acquire(const char* name, int32_t version) {
        const void* table = nullptr;
        EXPECT_EQ(suites.basicSuite()->AcquireSuite(name, version, &table), kSPNoError) << name;
        return static_cast<const T*>(table);
    }

    fxhost::FaultPlan plan;
    fxhost::HostSuites suites;
};

}  // namespace

TEST_F(HostSuitesTest, FaultOnSecondCallFailsThatCallOnly) {
    plan.faults.push_back(Fault{Callback::NewHandle, PF_Err_NONE, 2});
    const auto* handles = acquire<PF_HandleSuite1>(kPFHandleSuite, kPFHandleSuiteVersion1);
    PF_Handle got[3];
    for (PF_Handle& handle : got) handle = handles->host_new_handle(8);
    EXPECT_NE(got[0], nullptr);
    EXPECT_EQ(got[1], nullptr);
    EXPECT_NE(got[2], nullptr);
    EXPECT_EQ(suites.liveHandles(), 2);
    handles->host_dispose_handle(got[0]);
    handles->host_dispose_handle(got[2]);
    EXPECT_EQ(suites.liveHandles(), 0);
}

// Each pixel of the overlap once, with the source pixel at the same place; float worlds only.
TEST_F(HostSuitesTest, IterateVisitsEachPixelOfTheOverlapOnce) {
    const auto* suite = acquire<PF_iterateFloatSuite1>(kPFIterateFloatSuite, kPFIterateFloatSuiteVersion1);
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
