// The CPU renderer against the GL road it stands in for: the same 8-bit world uploaded as the
// effect uploads it, drawn by the effect's pass into the multisampled level, resolved, copied by
// the final pass and read back; and a few values worked out by hand.
#include <cstdint>
#include <cstring>
#include <vector>

#include "AEOpenglMainFrameBuffer.h"
#include "GLFixture.h"
#include "HueAndSaturationCPURender.h"
#include "HueAndSaturationRender.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

// A host frame: A, R, G, B bytes, rows tightly packed, first row first.
struct Frame {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;
};

PF_LayerDef worldOf(std::uint8_t* data, int width, int height, int rowbytes) {
    PF_LayerDef world{};
    world.data = reinterpret_cast<PF_PixelPtr>(data);
    world.width = width;
    world.height = height;
    world.rowbytes = rowbytes;
    return world;
}

std::uint32_t nextRandom(std::uint32_t& state) {
    state = state * 1664525u + 1013904223u;
    return state >> 8;
}

// Every 17th level of each channel, opaque: 16 × 16 × 16 colours, 64 × 64 pixels.
Frame opaqueChart() {
    Frame frame{64, 64, std::vector<std::uint8_t>(64 * 64 * 4)};
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
Frame alphaChart() {
    Frame frame{256, 48, std::vector<std::uint8_t>(256 * 48 * 4)};
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

    // The effect's road on the GPU for one 8-bit frame.
    static std::vector<std::uint8_t> glRoad(const Frame& frame, float hue, float saturation) {
        static HueAndSaturationRender* pass = new HueAndSaturationRender();
        GLuint texture = 0;
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, frame.width, frame.height, 0, GL_RGBA, GL_FLOAT, nullptr);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, frame.width, frame.height, GL_RGBA, GL_UNSIGNED_BYTE,
                        frame.bytes.data());
        glBindTexture(GL_TEXTURE_2D, 0);

        AEOpenglMainFrameBuffer* target = AEOpenglMainFrameBuffer::mainFrameBuffer();
        target->prepare(frame.width, frame.height, true);
        target->beginDrawing();
        pass->setHue(hue);
        pass->setSaturation(saturation);
        pass->draw(texture, 1.0f);
        target->endDrawing(1.0f);
        glDeleteTextures(1, &texture);

        std::vector<std::uint8_t> bytes(frame.bytes.size());
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, frame.width, frame.height, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
        return bytes;
    }

    static std::vector<std::uint8_t> cpu(const Frame& frame, float hue, float saturation) {
        std::vector<std::uint8_t> in = frame.bytes, out(frame.bytes.size(), 0xee);
        HueAndSaturationCPURender render;
        render.setHue(hue);
        render.setSaturation(saturation);
        const PF_LayerDef input = worldOf(in.data(), frame.width, frame.height, frame.width * 4);
        PF_LayerDef output = worldOf(out.data(), frame.width, frame.height, frame.width * 4);
        render.render(input, output);
        return out;
    }

    // The rule the CPU renderer keeps: alpha always equal; colour equal in all but a share of
    // channels, and never further apart than one premultiplied level becomes when divided by
    // the alpha: one level at alpha 255, four from alpha 64 up.
    // Returns the number of colour channels that differ.
    static size_t expectSameRule(const std::vector<std::uint8_t>& gl, const std::vector<std::uint8_t>& cpu,
                                 double minimumIdentical) {
        EXPECT_EQ(gl.size(), cpu.size());
        if (gl.size() != cpu.size()) return gl.size();
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
                    first << "pixel " << i / 4 << " channel " << c << " at alpha " << alpha << ": " << int(cpu[i + c])
                          << " on the CPU, " << int(gl[i + c]) << " on the GPU";
            }
        }
        EXPECT_EQ(tooFar, 0u) << "colour channels too far apart, the first: " << first;
        const double identical = 1.0 - double(differing) / double(gl.size() / 4 * 3);
        EXPECT_GE(identical, minimumIdentical) << differing << " colour channels differ";
        return differing;
    }
};

TEST_F(CPURenderTest, GivesTheGLRoadsBytesOverHueAndSaturation) {
    const Frame opaque = opaqueChart();
    const Frame alphas = alphaChart();
    size_t differing = 0, channels = 0;
    // 3600090 is 90 after ten thousand turns: the turn is taken modulo 360 before it is narrowed.
    for (const float hue : {0.0f, 90.0f, 200.5f, 359.9f, -45.0f, 725.0f, 3600090.0f}) {
        for (const float saturation : {0.0f, 0.5f, 1.0f, 1.37f, 2.0f}) {
            SCOPED_TRACE(::testing::Message() << "hue " << hue << ", saturation " << saturation);
            differing += expectSameRule(glRoad(opaque, hue, saturation), cpu(opaque, hue, saturation), 0.999);
            differing += expectSameRule(glRoad(alphas, hue, saturation), cpu(alphas, hue, saturation), 0.999);
            channels += (opaque.bytes.size() + alphas.bytes.size()) / 4 * 3;
        }
    }
    // Over all of them, about one channel in 150000 differs where the GL compiler's own atan is
    // followed; a library atan2 or a plain rotation, three microradians off at times, gives ten
    // times as many.
    EXPECT_LE(differing, channels / 50000) << "of " << channels << " colour channels";
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
        const Frame frame{1, 1, std::vector<std::uint8_t>(c.in, c.in + 4)};
        EXPECT_EQ(cpu(frame, c.hue, c.saturation), std::vector<std::uint8_t>(c.out, c.out + 4));
    }
}

// A frame large enough for threads, with a width that is no multiple of the block and padding
// after every row: threads, a band of rows on its own, and rendering in place all give the same
// bytes, and the padding is never touched.
TEST_F(CPURenderTest, BandsThreadsAndPaddingGiveTheSameBytes) {
    const int width = 1031, height = 1029, rowbytes = width * 4 + 20;
    std::vector<std::uint8_t> input(static_cast<size_t>(rowbytes) * height);
    std::uint32_t state = 3;
    for (std::uint8_t& byte : input) byte = static_cast<std::uint8_t>(nextRandom(state));
    const PF_LayerDef in = worldOf(input.data(), width, height, rowbytes);

    HueAndSaturationCPURender render;
    render.setHue(200.5f);
    render.setSaturation(1.37f);
    const auto renderInto = [&](unsigned threads) {
        std::vector<std::uint8_t> out(input.size(), 0xa5);
        PF_LayerDef world = worldOf(out.data(), width, height, rowbytes);
        render.setMaxThreads(threads);
        render.render(in, world);
        return out;
    };
    const std::vector<std::uint8_t> single = renderInto(1);
    EXPECT_EQ(renderInto(4), single);
    EXPECT_EQ(renderInto(0), single);
    for (int y = 0; y < height; ++y)
        for (int i = width * 4; i < rowbytes; ++i)
            ASSERT_EQ(single[static_cast<size_t>(y) * rowbytes + i], 0xa5) << "padding of row " << y;

    const int first = 333, rows = 200;
    std::vector<std::uint8_t> band(input.size(), 0xa5);
    const PF_LayerDef bandIn = worldOf(&input[static_cast<size_t>(first) * rowbytes], width, rows, rowbytes);
    PF_LayerDef bandOut = worldOf(&band[static_cast<size_t>(first) * rowbytes], width, rows, rowbytes);
    render.setMaxThreads(0);
    render.render(bandIn, bandOut);
    const size_t from = static_cast<size_t>(first) * rowbytes, to = from + static_cast<size_t>(rows) * rowbytes;
    EXPECT_TRUE(std::equal(band.begin() + from, band.begin() + to, single.begin() + from));

    std::vector<std::uint8_t> inPlace = input;
    PF_LayerDef world = worldOf(inPlace.data(), width, height, rowbytes);
    render.render(world, world);
    for (int y = 0; y < height; ++y)
        ASSERT_EQ(std::memcmp(&inPlace[static_cast<size_t>(y) * rowbytes], &single[static_cast<size_t>(y) * rowbytes],
                              static_cast<size_t>(width) * 4),
                  0)
            << "row " << y;
}

}  // namespace
