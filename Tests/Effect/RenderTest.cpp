#include <cmath>
#include <cstring>
#include <thread>

#include "HostFixture.h"

using fxhost::Callback;
using fxhost::Depth;
using fxhost::HostWorld;

namespace {

struct ARGB {
    float a, r, g, b;
};

class Render : public HostFixture {
protected:
    void SetUp() override {
        HostFixture::SetUp();
        setUpEffect();
    }

    void setParams(double hue, double saturation) {
        host->setParamValue(1, hue);
        host->setParamValue(2, saturation);
    }

    // A world of the given pixels in one row, with padded rows and guard bytes.
    static void fillRow(HostWorld& world, const std::vector<ARGB>& pixels) {
        for (int y = 0; y < world.height(); ++y) {
            for (int x = 0; x < world.width(); ++x) {
                const ARGB& p = pixels[x % pixels.size()];
                const float v[4] = {p.a, p.r, p.g, p.b};
                world.setPixel(x, y, v);
            }
        }
    }

    static ARGB at(const HostWorld& world, int x, int y) {
        float v[4];
        world.getPixel(x, y, v);
        return ARGB{v[0], v[1], v[2], v[3]};
    }
};

void expectNear(const ARGB& got, const ARGB& want, float tolerance) {
    EXPECT_NEAR(got.a, want.a, tolerance);
    EXPECT_NEAR(got.r, want.r, tolerance);
    EXPECT_NEAR(got.g, want.g, tolerance);
    EXPECT_NEAR(got.b, want.b, tolerance);
}

const std::vector<ARGB> kColours = {
    {255, 200, 40, 90}, {255, 0, 255, 128}, {128, 30, 160, 220}, {128, 250, 250, 5}, {255, 17, 17, 17}};

}  // namespace

TEST_F(Render, NeutralSettingsGiveTheInputBack) {
    HostWorld input(5, 3, Depth::Eight), output(5, 3, Depth::Eight);
    fillRow(input, kColours);
    setParams(0.0, 1.0);
    ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
    for (int x = 0; x < 5; ++x) {
        SCOPED_TRACE(x);
        // Opaque and half-transparent pixels pass the YIQ round trip and the premultiplied
        // 8-bit target within one level.
        expectNear(at(output, x, 2), kColours[x], 1.0f);
    }
}

TEST_F(Render, NearlyTransparentPixelsKeepTheirColourWithinTheTargetsRounding) {
    HostWorld input(3, 2, Depth::Eight), output(3, 2, Depth::Eight);
    const std::vector<ARGB> faint = {{16, 200, 100, 50}, {8, 40, 220, 120}, {1, 255, 255, 255}};
    fillRow(input, faint);
    setParams(0.0, 1.0);
    ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
    for (int x = 0; x < 3; ++x) {
        SCOPED_TRACE(x);
        const ARGB got = at(output, x, 0);
        EXPECT_EQ(got.a, faint[x].a);
        // A colour stored premultiplied in 8 bits comes back within half a step of 255/alpha.
        const float tolerance = 0.5f * 255.0f / faint[x].a + 1.0f;
        EXPECT_NEAR(got.r, faint[x].r, tolerance);
        EXPECT_NEAR(got.g, faint[x].g, tolerance);
        EXPECT_NEAR(got.b, faint[x].b, tolerance);
    }
}

TEST_F(Render, HueAndSaturationOfPureRedMatchHandWorkedFigures) {
    HostWorld input(2, 2, Depth::Eight), output(2, 2, Depth::Eight);
    fillRow(input, {{255, 255, 0, 0}});
    struct Case {
        double hue, saturation;
        ARGB want;
    } cases[] = {
        // YIQ of red: Y 0.299, I 0.595716, Q 0.211456; turned by 180 degrees: (-0.402, 0.598, 0.598), clamped.
        {180.0, 1.0, {255, 0, 152.5f, 152.5f}},
        // Turned by 90 degrees the negative way: (0.131, 0.627, -0.951).
        {90.0, 1.0, {255, 33.4f, 159.9f, 0}},
        // Grey of luminance 0.2125.
        {0.0, 0.0, {255, 54.2f, 54.2f, 54.2f}},
        // 360 is a whole turn.
        {360.0, 1.0, {255, 255, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "hue " << c.hue << " saturation " << c.saturation);
        setParams(c.hue, c.saturation);
        ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
        expectNear(at(output, 1, 1), c.want, 1.5f);
    }
}

TEST_F(Render, ZeroAlphaGivesAllZeroPixels) {
    HostWorld input(4, 2, Depth::Eight), output(4, 2, Depth::Eight);
    fillRow(input, {{0, 255, 128, 7}});
    const float junk[4] = {9, 9, 9, 9};
    output.fill(junk);
    setParams(123.0, 1.7);
    ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
    EXPECT_EQ(output.pixelBytes(), std::vector<uint8_t>(4 * 2 * 4, 0));
}

TEST_F(Render, ParameterFailureSkipsTheSecondCheckoutButStillDraws) {
    HostWorld input(2, 1, Depth::Eight), output(2, 1, Depth::Eight);
    fillRow(input, {{255, 255, 0, 0}});
    setParams(180.0, 1.0);
    host->faults().faults.push_back({Callback::CheckoutParam, PF_Err_INVALID_INDEX, 0, 1});
    host->suites().resetCalls();
    EXPECT_EQ(host->renderFrame(input, output), PF_Err_INVALID_INDEX);
    EXPECT_EQ(host->suites().calls(Callback::CheckoutParam), 1);
    EXPECT_EQ(host->suites().calls(Callback::CheckinParam), 2);
    // The record stayed zero: hue 0 and saturation 0, so the frame is the grey of red.
    expectNear(at(output, 0, 0), ARGB{255, 54.2f, 54.2f, 54.2f}, 1.5f);
}

TEST_F(Render, HostFailuresBeforeTheFrameLeaveOutputAndHostContextAlone) {
    HostWorld input(3, 3, Depth::Eight), output(3, 3, Depth::Eight);
    fillRow(input, kColours);
    const float mark[4] = {1, 2, 3, 4};
    output.fill(mark);
    const std::vector<uint8_t> before = output.pixelBytes();

    host->faults().faults = {{Callback::CheckoutLayerPixels, PF_Interrupt_CANCEL}};
    EXPECT_EQ(host->renderFrame(input, output), PF_Interrupt_CANCEL);
    host->faults().faults = {{Callback::CheckoutOutput, PF_Err_OUT_OF_MEMORY}};
    EXPECT_EQ(host->renderFrame(input, output), PF_Err_OUT_OF_MEMORY);
    host->faults().faults.clear();
    host->faults().nullInputWorld = true;
    EXPECT_EQ(host->renderFrame(input, output), PF_Err_BAD_CALLBACK_PARAM);
    host->faults().nullInputWorld = false;
    for (const char* suite : {"PF Handle Suite", "AEGP Layer Suite", "AEGP Item Suite"}) {
        SCOPED_TRACE(suite);
        host->faults().missingSuites = {suite};
        EXPECT_EQ(host->renderFrame(input, output), PF_Err_BAD_CALLBACK_PARAM);
    }
    EXPECT_EQ(output.pixelBytes(), before);
    EXPECT_TRUE(host->violations().empty()) << host->violations().front();

    // Nothing of the failed frames lingers: the next one is right.
    host->faults().clear();
    setParams(0.0, 1.0);
    ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
    expectNear(at(output, 0, 0), kColours[0], 1.0f);
}

TEST_F(Render, FramesOfChangingSizeAreEachRight) {
    setParams(180.0, 1.0);
    for (const auto& size :
         {std::make_pair(8, 6), std::make_pair(8, 6), std::make_pair(5, 9), std::make_pair(8, 6)}) {
        SCOPED_TRACE(testing::Message() << size.first << "x" << size.second);
        HostWorld input(size.first, size.second, Depth::Eight), output(size.first, size.second, Depth::Eight);
        fillRow(input, {{255, 255, 0, 0}});
        ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
        expectNear(at(output, size.first - 1, size.second - 1), ARGB{255, 0, 152.5f, 152.5f}, 1.5f);
        expectNear(at(output, 0, 0), ARGB{255, 0, 152.5f, 152.5f}, 1.5f);
    }
}

TEST_F(Render, RowsAreNotFlippedAndPaddingIsNotTouched) {
    HostWorld input(3, 4, Depth::Eight, 13), output(3, 4, Depth::Eight, 29);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 3; ++x) {
            const float v[4] = {255, static_cast<float>(60 * y), static_cast<float>(80 * x), 100};
            input.setPixel(x, y, v);
        }
    }
    setParams(0.0, 1.0);
    ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
    EXPECT_TRUE(output.guardsIntact());
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 3; ++x) {
            expectNear(at(output, x, y), ARGB{255, 60.0f * y, 80.0f * x, 100}, 1.0f);
        }
    }
}

TEST_F(Render, SetUpAgainAfterSetDownRendersWithAFreshPass) {
    HostWorld input(2, 2, Depth::Eight), output(2, 2, Depth::Eight);
    fillRow(input, {{255, 255, 0, 0}});
    setParams(180.0, 1.0);
    ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
    ASSERT_EQ(host->globalSetdown(), PF_Err_NONE);
    setUpEffect();
    setParams(180.0, 1.0);
    const float mark[4] = {1, 2, 3, 4};
    output.fill(mark);
    ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
    expectNear(at(output, 1, 0), ARGB{255, 0, 152.5f, 152.5f}, 1.5f);
}

TEST_F(Render, AFrameOnAnotherThreadRendersWithItsOwnContext) {
    HostWorld input(6, 4, Depth::Eight), first(6, 4, Depth::Eight), second(6, 4, Depth::Eight);
    fillRow(input, kColours);
    setParams(0.0, 1.0);
    ASSERT_EQ(host->renderFrame(input, first), PF_Err_NONE);
    // The host may call from any thread; that thread has its own host context current.
    PF_Err err = -1;
    std::thread other([&] {
        fxhost::HostGLContext threadContext;
        threadContext.makeCurrent();
        err = host->smartRender(&input, &second);
        EXPECT_TRUE(threadContext.isCurrent());
        fxhost::HostGLContext::releaseCurrent();
    });
    other.join();
    EXPECT_EQ(err, PF_Err_NONE);
    EXPECT_EQ(first.pixelBytes(), second.pixelBytes());
}
