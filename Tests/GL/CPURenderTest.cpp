// The CPU renderer against the GL road it stands in for, replayed as the exactness report replays
// it (EffectRoads.h), on charts and a photograph-like frame, and a few values worked out by hand.
#include <cstdint>
#include <thread>
#include <vector>

#include "EffectRoads.h"
#include "GLFixture.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

std::uint32_t nextRandom(std::uint32_t& state) {
    state = state * 1664525u + 1013904223u;
    return state >> 8;
}

// Every 17th level of each channel, opaque: 16 × 16 × 16 colours, 64 × 64 pixels.
Frame8 opaqueChart() {
    Frame8 frame{64, 64, std::vector<std::uint8_t>(64 * 64 * 4)};
    for (int i = 0; i < 64 * 64; ++i) {
        std::uint8_t* p = &frame.bytes[static_cast<size_t>(i) * 4];
        p[0] = 255;
        p[1] = static_cast<std::uint8_t>(17 * (i & 15));
        p[2] = static_cast<std::uint8_t>(17 * ((i >> 4) & 15));
        p[3] = static_cast<std::uint8_t>(17 * (i >> 8));
    }
    return frame;
}

// 48 random colours, each at every alpha: 256 × 48 pixels.
Frame8 alphaChart() {
    Frame8 frame{256, 48, std::vector<std::uint8_t>(256 * 48 * 4)};
    std::uint32_t state = 7;
    for (int y = 0; y < 48; ++y) {
        const std::uint32_t colour = nextRandom(state);
        for (int x = 0; x < 256; ++x) {
            std::uint8_t* p = &frame.bytes[static_cast<size_t>(y * 256 + x) * 4];
            p[0] = static_cast<std::uint8_t>(x);
            p[1] = static_cast<std::uint8_t>(colour);
            p[2] = static_cast<std::uint8_t>(colour >> 8);
            p[3] = static_cast<std::uint8_t>(colour >> 16);
        }
    }
    return frame;
}

class CPURenderTest : public GLFixture {
protected:
    static void SetUpTestSuite() {
        // Other suites leave the frame buffer at sizes of theirs, some in plain mode; a new set-up
        // makes the first `prepare` here multisampled, as the effect's are.
        context()->makeContextCurrent();
        AEOpenglMainFrameBuffer::mainFrameBuffer()->destory();
    }

    // The rule the CPU renderer keeps: alpha always equal; colour never further apart than one
    // premultiplied level becomes when divided by the alpha: one level at alpha 255, four from alpha
    // 64 up. Returns the number of colour channels that differ.
    static size_t expectSameRule(const std::vector<std::uint8_t>& gl, const std::vector<std::uint8_t>& cpu) {
        size_t differing = 0, tooFar = 0;
        ::testing::Message first;
        for (size_t i = 0; i < gl.size(); i += 4) {
            EXPECT_EQ(cpu[i], gl[i]) << "alpha of pixel " << i / 4;
            const int alpha = gl[i];
            const int allowed = alpha == 0 ? 0 : (255 + alpha - 1) / alpha;
            for (size_t c = 1; c < 4; ++c) {
                const int difference = std::abs(int(cpu[i + c]) - int(gl[i + c]));
                differing += difference != 0;
                if (difference > allowed && tooFar++ == 0)
                    first << "pixel " << i / 4 << " channel " << c << " at alpha " << alpha << ": "
                          << int(cpu[i + c]) << " on the CPU, " << int(gl[i + c]) << " on the GPU";
            }
        }
        EXPECT_EQ(tooFar, 0u) << "colour channels too far apart, the first: " << first;
        return differing;
    }
};

// Over the table of hues and saturations, both charts: the rule everywhere, and at most one colour
// channel in ten thousand different (a weight off in its fourth decimal moves about one in a
// hundred; rounding by truncation, one in two).
TEST_F(CPURenderTest, KeepsTheRuleOnChartsOverHueAndSaturation) {
    static HueAndSaturationRender* pass = new HueAndSaturationRender();
    const Frame8 charts[] = {opaqueChart(), alphaChart()};
    size_t differing = 0, channels = 0;
    // 3600090 is 90 after ten thousand turns: the turn is taken modulo 360 before it is narrowed.
    for (const float hue : {0.0f, 90.0f, 200.5f, 359.9f, -45.0f, 725.0f, 3600090.0f}) {
        for (const float saturation : {0.0f, 0.5f, 1.0f, 1.37f, 2.0f}) {
            for (const Frame8& chart : charts) {
                SCOPED_TRACE(::testing::Message() << "hue " << hue << ", saturation " << saturation);
                differing +=
                    expectSameRule(glRoad(*pass, chart, hue, saturation), cpuRoad(chart, hue, saturation));
                channels += chart.bytes.size() / 4 * 3;
            }
        }
    }
    EXPECT_LE(differing, channels / 10000) << "of " << channels << " colour channels";
}

// A photograph-like frame of an odd size, where the GL pass samples between texels: the rule, and
// at least 99.9 % of colour channels identical.
TEST_F(CPURenderTest, KeepsTheRuleOnAPhotographOfAnOddSize) {
    static HueAndSaturationRender* pass = new HueAndSaturationRender();
    const Frame8 photograph = photographLike(567, 379);
    for (const float hue : {90.0f, 200.5f}) {
        for (const float saturation : {0.5f, 1.5f}) {
            SCOPED_TRACE(::testing::Message() << "hue " << hue << ", saturation " << saturation);
            const size_t differing =
                expectSameRule(glRoad(*pass, photograph, hue, saturation), cpuRoad(photograph, hue, saturation));
            EXPECT_LE(differing, photograph.bytes.size() / 4 * 3 / 1000);
        }
    }
}

// Pure red has Y 0.299, I 0.595716, Q 0.211456; turned by 180 degrees it is about
// (-0.402, 0.598, 0.598), by 90 about (0.131, 0.627, -0.951), clamped and rounded to levels.
TEST_F(CPURenderTest, KnownColours) {
    struct Case {
        std::uint8_t in[4];
        float hue;
        float saturation;
        std::uint8_t out[4];
    };
    const Case cases[] = {
        {{255, 255, 0, 0}, 180.0f, 1.0f, {255, 0, 152, 152}},
        {{255, 255, 0, 0}, 90.0f, 1.0f, {255, 33, 160, 0}},
        {{255, 255, 0, 0}, 360.0f, 1.0f, {255, 255, 0, 0}},
        // Grey of luminance 0.2125.
        {{255, 255, 0, 0}, 0.0f, 0.0f, {255, 54, 54, 54}},
        // Premultiplied to 128 of 255 and divided back.
        {{128, 255, 0, 0}, 0.0f, 1.0f, {128, 255, 0, 0}},
        // Alpha 0 gives zeros whatever the colour.
        {{0, 200, 100, 50}, 45.0f, 1.5f, {0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << "hue " << c.hue << ", saturation " << c.saturation);
        const Frame8 frame{1, 1, std::vector<std::uint8_t>(c.in, c.in + 4)};
        EXPECT_EQ(cpuRoad(frame, c.hue, c.saturation), std::vector<std::uint8_t>(c.out, c.out + 4));
    }
}

// A frame large enough for threads, with a width that is no multiple of the block and padding
// after every row: threads, a band of rows on its own, and rendering in place all give the same
// bytes, also beside other renders on other threads, and the padding is never touched.
TEST_F(CPURenderTest, BandsThreadsAndPaddingGiveTheSameBytes) {
    const int width = 1031, height = 1029, rowbytes = width * 4 + 20;
    const auto row = [&](auto& bytes, int y) { return &bytes[static_cast<size_t>(y) * rowbytes]; };
    // Random pixels; the padding holds 0xa5, as every output does before the render.
    std::vector<std::uint8_t> input(static_cast<size_t>(rowbytes) * height, 0xa5);
    std::uint32_t state = 3;
    for (int y = 0; y < height; ++y)
        for (int i = 0; i < width * 4; ++i) row(input, y)[i] = static_cast<std::uint8_t>(nextRandom(state));

    HueAndSaturationCPURender render;
    render.setHue(200.5f);
    render.setSaturation(1.37f);
    // Rows `first` to `first + rows` with at most `threads` threads (0: the machine's).
    const auto renderInto = [&](unsigned threads, int first, int rows) {
        std::vector<std::uint8_t> out(input.size(), 0xa5);
        PF_LayerDef world = worldOf(row(out, first), width, rows, rowbytes);
        render.setMaxThreads(threads);
        render.render(worldOf(row(input, first), width, rows, rowbytes), world);
        return out;
    };
    const std::vector<std::uint8_t> single = renderInto(1, 0, height);
    EXPECT_EQ(renderInto(4, 0, height), single);
    EXPECT_EQ(renderInto(0, 0, height), single);
    for (int y = 0; y < height; ++y)
        for (int i = width * 4; i < rowbytes; ++i)
            ASSERT_EQ(row(single, y)[i], 0xa5) << "padding of row " << y;
    // Renders from several threads at once (hosts render frames in parallel) share the helpers.
    std::vector<std::vector<std::uint8_t>> together(3);
    std::vector<std::thread> callers;
    for (auto& result : together)
        callers.emplace_back([&] {
            HueAndSaturationCPURender own;
            own.setHue(200.5f);
            own.setSaturation(1.37f);
            for (int pass = 0; pass < 20; ++pass) {
                std::vector<std::uint8_t> out(input.size(), 0xa5);
                PF_LayerDef world = worldOf(out.data(), width, height, rowbytes);
                own.render(worldOf(input.data(), width, height, rowbytes), world);
                if (pass == 0 || out != single) result = std::move(out);
            }
        });
    for (std::thread& caller : callers) caller.join();
    for (const auto& result : together) EXPECT_TRUE(result == single) << "a render beside others differs";
    const std::vector<std::uint8_t> band = renderInto(0, 333, 200);
    EXPECT_TRUE(std::equal(row(band, 333), row(band, 533), row(single, 333)));

    PF_LayerDef world = worldOf(input.data(), width, height, rowbytes);
    render.render(world, world);
    EXPECT_EQ(input, single);
}

}  // namespace
