#include "HostSuites.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <utility>

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
    PF_Handle first = handles->host_new_handle(8);
    PF_Handle second = handles->host_new_handle(8);
    PF_Handle third = handles->host_new_handle(8);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(third, nullptr);
    EXPECT_EQ(suites.liveHandles(), 2);
    handles->host_dispose_handle(first);
    handles->host_dispose_handle(third);
    EXPECT_EQ(suites.liveHandles(), 0);
}

TEST_F(HostSuitesTest, IterateVisitsEachPixelOfTheOverlapOnce) {
    const auto* suite = acquire<PF_iterateFloatSuite1>(kPFIterateFloatSuite, kPFIterateFloatSuiteVersion1);
    HostWorld src(5, 2, Depth::Float), dst(3, 4, Depth::Float);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 5; ++x) {
            const float argb[4] = {float(x), float(y), 0, 0};
            src.setPixel(x, y, argb);
        }
    std::map<std::pair<int, int>, int> visits;
    auto record = [](void* refcon, A_long x, A_long y, PF_PixelFloat* in, PF_PixelFloat* out) -> PF_Err {
        ++(*static_cast<std::map<std::pair<int, int>, int>*>(refcon))[{x, y}];
        *out = PF_PixelFloat{in->alpha, in->red, 7, 7};  // in must be the source pixel at (x, y)
        return PF_Err_NONE;
    };
    ASSERT_EQ(suite->iterate(nullptr, 0, 0, src.def(), nullptr, &visits, record, dst.def()), PF_Err_NONE);
    EXPECT_EQ(visits.size(), 6u);  // 3 x 2
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 3; ++x) {
            const bool inside = y < 2;
            const auto visit = visits.find({x, y});
            EXPECT_EQ(visit == visits.end() ? 0 : visit->second, inside ? 1 : 0) << x << "," << y;
            float argb[4];
            dst.getPixel(x, y, argb);
            EXPECT_EQ(argb[0], inside ? x : 0);
            EXPECT_EQ(argb[1], inside ? y : 0);
            EXPECT_EQ(argb[2], inside ? 7 : 0);
        }
    EXPECT_TRUE(dst.guardsIntact());

    HostWorld eight(3, 2, Depth::Eight);
    visits.clear();
    EXPECT_EQ(suite->iterate(nullptr, 0, 0, eight.def(), nullptr, &visits, record, dst.def()),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(suite->iterate(nullptr, 0, 0, src.def(), nullptr, &visits, record, eight.def()),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_TRUE(visits.empty());
}
