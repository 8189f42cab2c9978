// A stand-in host with the bundle under test loaded; set-down runs when it ends.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "EffectHost.h"

class HostFixture : public ::testing::Test {
protected:
    void SetUp() override { host.reset(new fxhost::EffectHost(OSTRIVANE_BUNDLE_PATH)); }
    void TearDown() override {
        if (host) {
            host->globalSetdown();
            EXPECT_TRUE(host->violations().empty()) << host->violations().front();
        }
        host.reset();
    }

    // Global set-up and parameter set-up, as the host sends them before any frame.
    void setUpEffect() {
        ASSERT_EQ(host->globalSetup(), PF_Err_NONE);
        ASSERT_EQ(host->paramsSetup(), PF_Err_NONE);
    }
    void setParams(double hue, double saturation) {
        host->setParamValue(1, hue);
        host->setParamValue(2, saturation);
    }

    std::unique_ptr<fxhost::EffectHost> host;
};
