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
    std::vector<ARGB> colours = kColours;
    // Faint pixels, stored premultiplied in 8 bits, come back within half a step of 255 / alpha;
    // a transparent one comes back all zeros.
    colours.insert(colours.end(), {{16, 200, 100, 50}, {1, 255, 255, 255}, {0, 255, 128, 7}});
    HostWorld input(8, 3, Depth::Eight), output(8, 3, Depth::Eight);
    fillRow(input, colours);
    setParams(0.0, 1.0);
    ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
    for (int x = 0; x < 8; ++x) {
        SCOPED_TRACE(x);
        const ARGB want = colours[x].a == 0 ? ARGB{0, 0, 0, 0} : colours[x];
        expectNear(at(output, x, 2), want, colours[x].a >= 128 ? 1.0f : 0.5f * 255.0f / colours[x].a + 1.0f);
    }
}

// The first failing callback's code is the frame's, whatever fails after it; the frame is still
// drawn with what could be read, and every parameter is read whatever became of the one before.
TEST_F(Render, TheFirstOfSeveralFailuresIsReported) {
    HostWorld input(2, 1, Depth::Eight), output(2, 1, Depth::Eight);
    fillRow(input, {{255, 255, 0, 0}});
    setParams(180.0, 1.0);
    const PF_Err first = PF_Err_INVALID_INDEX, later = PF_Err_OUT_OF_MEMORY;
    struct Case {
        const char* name;
        std::vector<fxhost::Fault> faults;
        ARGB drawn;
    } cases[] = {
        // Both records stayed zero: hue 0 and saturation 0, the grey of red.
        {"both checkouts", {{Callback::CheckoutParam, first, 0, 1}, {Callback::CheckoutParam, later, 0, 2}},
         {255, 54.2f, 54.2f, 54.2f}},
        // Hue 0, the saturation read: red as it was.
        {"hue checkout, then both checkins",
         {{Callback::CheckoutParam, first, 0, 1}, {Callback::CheckinParam, later}},
         {255, 255, 0, 0}},
        // Both read: hue 180, saturation 1.
        {"hue checkin, then saturation checkin",
         {{Callback::CheckinParam, first, 1}, {Callback::CheckinParam, later, 2}},
         {255, 0, 152.5f, 152.5f}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        host->faults().faults = c.faults;
        host->suites().resetCalls();
        EXPECT_EQ(host->renderFrame(input, output), first);
        EXPECT_EQ(host->suites().calls(Callback::CheckoutParam), 2);
        EXPECT_EQ(host->suites().calls(Callback::CheckinParam), 2);
        expectNear(at(output, 0, 0), c.drawn, 1.5f);
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
