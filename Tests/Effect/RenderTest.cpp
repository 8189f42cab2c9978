#include <vector>

#include "HostFixture.h"
#include "KnownFrames.h"

using fxhost::Callback;
using fxhost::Depth;
using fxhost::HostWorld;
using known::ARGB;

namespace {

class Render : public HostFixture {
protected:
    void SetUp() override {
        HostFixture::SetUp();
        setUpEffect();
    }

    // `pixels` repeated along the rows, each row starting one further on.
    static void fillRows(HostWorld& world, const std::vector<ARGB>& pixels) {
        for (int y = 0; y < world.height(); ++y) {
            for (int x = 0; x < world.width(); ++x) {
                const ARGB& p = pixels[(x + y) % pixels.size()];
                const float v[4] = {p.a, p.r, p.g, p.b};
                world.setPixel(x, y, v);
            }
        }
    }

    static void expectNear(const HostWorld& world, int x, int y, const ARGB& want, float tolerance) {
        float got[4];
        world.getPixel(x, y, got);
        const float w[4] = {want.a, want.r, want.g, want.b};
        for (int c = 0; c < 4; ++c) EXPECT_NEAR(got[c], w[c], tolerance) << x << "," << y << " channel " << c;
    }
};

}  // namespace

// Over padded rows, which are neither flipped nor written past.
TEST_F(Render, KnownColoursMatchHandWorkedFigures) {
    const ARGB red = known::kRed;
    const std::vector<ARGB> colours = {{255, 200, 40, 90}, {255, 0, 255, 128}, {128, 30, 160, 220},
                                       {128, 250, 250, 5}, {255, 17, 17, 17},  {16, 200, 100, 50},
                                       {1, 255, 255, 255}, {0, 255, 128, 7}};
    std::vector<ARGB> back = colours;
    back.back() = {0, 0, 0, 0};  // a transparent pixel comes back all zeros
    struct Case {
        double hue, saturation;
        std::vector<ARGB> in, want;
    } cases[] = {
        // Neutral settings give the input back.
        {0.0, 1.0, colours, back},
        // YIQ of red: Y 0.299, I 0.595716, Q 0.211456; turned by 180 degrees: (-0.402, 0.598, 0.598), clamped.
        {180.0, 1.0, {red}, {{255, 0, 152.5f, 152.5f}}},
        // Turned by 90 degrees the negative way: (0.131, 0.627, -0.951).
        {90.0, 1.0, {red}, {{255, 33.4f, 159.9f, 0}}},
        // Grey of luminance 0.2125.
        {0.0, 0.0, {red}, {{255, 54.2f, 54.2f, 54.2f}}},
        // 360 is a whole turn.
        {360.0, 1.0, {red}, {red}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "hue " << c.hue << " saturation " << c.saturation);
        const int n = static_cast<int>(c.in.size());
        HostWorld input(n, 3, Depth::Eight, 13), output(n, 3, Depth::Eight, 29);
        fillRows(input, c.in);
        // A byte the host itself wrote past a row before the call is not the effect's doing.
        static_cast<uint8_t*>(input.def()->data)[4 * n] = 0;
        setParams(c.hue, c.saturation);
        ASSERT_EQ(host->renderFrame(input, output), PF_Err_NONE);
        EXPECT_TRUE(output.guardsIntact());
        EXPECT_TRUE(host->violations().empty()) << host->violations().front();
        // Faint pixels, stored premultiplied in 8 bits, come back within half a step of 255 / alpha.
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < n; ++x) {
                const int i = (x + y) % n;
                expectNear(output, x, y, c.want[i],
                           c.in[i].a >= 128 ? 1.5f : 0.5f * 255.0f / c.in[i].a + 1.0f);
            }
        }
    }
}

// The first failing callback's code is the frame's, whatever fails after it; the frame is still
// drawn with what could be read, and every parameter is read whatever became of the one before,
// by either renderer.
TEST_F(Render, TheFirstOfSeveralFailuresIsReported) {
    HostWorld input(2, 1, Depth::Eight), output(2, 1, Depth::Eight);
    fillRows(input, {known::kRed});
    const PF_Err first = PF_Err_INVALID_INDEX, later = PF_Err_OUT_OF_MEMORY;
    struct Case {
        const char* name;
        std::vector<fxhost::Fault> faults;
        ARGB drawn;
    } cases[] = {
        // Both records stayed zero: hue 0 and saturation 0, the grey of red.
        {"both checkouts",
         {{Callback::CheckoutParam, first, 0, 1}, {Callback::CheckoutParam, later, 0, 2}},
         known::kGreyed.red},
        // Hue 0, the saturation read: red as it was.
        {"hue checkout, then both checkins",
         {{Callback::CheckoutParam, first, 0, 1}, {Callback::CheckinParam, later}},
         known::kRed},
        // Both read: hue 180, saturation 1.
        {"hue checkin, then saturation checkin",
         {{Callback::CheckinParam, first, 1}, {Callback::CheckinParam, later, 2}},
         known::kTurned.red},
    };
    for (const Case& c : cases) {
        for (fxhost::Renderer renderer : {fxhost::Renderer::GL, fxhost::Renderer::CPU}) {
            SCOPED_TRACE(testing::Message()
                         << c.name << (renderer == fxhost::Renderer::CPU ? ", CPU" : ", GL"));
            fxhost::HostOptions options;
            options.renderer = renderer;
            host.reset();
            host.reset(new fxhost::EffectHost(OSTRIVANE_BUNDLE_PATH, options));
            setUpEffect();
            setParams(180.0, 1.0);
            host->faults().faults = c.faults;
            host->suites().resetCalls();
            EXPECT_EQ(host->renderFrame(input, output), first);
            EXPECT_EQ(host->suites().calls(Callback::CheckoutParam), 2);
            EXPECT_EQ(host->suites().calls(Callback::CheckinParam), 2);
            expectNear(output, 0, 0, c.drawn, 1.5f);
        }
    }
}
