// Worlds a host should never hand over, handed over through the host: each gives an error
// code with the output untouched, or a correct copy of the overlap; nothing is ever
// written outside a buffer.
#include <gtest/gtest.h>

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "HostFixture.h"
#include "KnownFrames.h"

using fxhost::Depth;
using fxhost::HostWorld;

namespace {

class BadWorld : public HostFixture {
protected:
    void SetUp() override {
        HostFixture::SetUp();
        setUpEffect();
        setParams(known::kTurned.hue, known::kTurned.saturation);
    }
    void TearDown() override {
        // Whatever came before, the effect renders the next good frame right.
        HostWorld input(6, 4, Depth::Eight), output(6, 4, Depth::Eight);
        known::fillPattern(input);
        EXPECT_EQ(host->renderFrame(input, output), PF_Err_NONE);
        EXPECT_EQ(known::checkPattern(output, known::kTurned), "");
        HostFixture::TearDown();
    }

    // Renders with the lent definitions altered by `lie` and put right again before the
    // host looks at its guards; gives the effect's code and leaves `output` as it came out.
    PF_Err renderLying(HostWorld& input, HostWorld& output,
                       const std::function<void(PF_LayerDef&, PF_LayerDef&)>& lie) {
        const PF_LayerDef in = *input.def(), out = *output.def();
        lie(*input.def(), *output.def());
        const PF_Err err = host->smartRender(&input, &output);
        *input.def() = in;
        *output.def() = out;
        EXPECT_TRUE(input.guardsIntact());
        EXPECT_TRUE(output.guardsIntact());
        EXPECT_TRUE(host->violations().empty()) << host->violations().front();
        return err;
    }
};

const float kMark[4] = {1, 2, 3, 4};

// A claim of `width` x `height` pixels, rows long enough for the width, by the output or the input.
std::function<void(PF_LayerDef&, PF_LayerDef&)> claim(bool byOutput, A_long width, A_long height) {
    return [=](PF_LayerDef& in, PF_LayerDef& out) {
        PF_LayerDef& def = byOutput ? out : in;
        def.width = width;
        def.height = height;
        def.rowbytes = static_cast<A_long>(std::min<int64_t>(int64_t{width} * 4, 0x7fffffff));
    };
}

// Refused before anything is allocated (sizes larger than any frame the driver can make, over a
// buffer of 6 x 4 pixels, too), with the output untouched.
TEST_F(BadWorld, RefusedWorldsGive516AndLeaveTheOutputAlone) {
    struct Case {
        const char* name;
        std::function<void(PF_LayerDef&, PF_LayerDef&)> lie;
        bool handleFirst = false;  // refused once the read-back handle is made, not before
    } cases[] = {
        {"input rows one byte short", [](PF_LayerDef& in, PF_LayerDef&) { in.rowbytes = in.width * 4 - 1; }},
        {"output rows one byte short",
         [](PF_LayerDef&, PF_LayerDef& out) { out.rowbytes = out.width * 4 - 1; }},
        {"input rowbytes negative", [](PF_LayerDef& in, PF_LayerDef&) { in.rowbytes = -in.rowbytes; }},
        {"output rowbytes zero", [](PF_LayerDef&, PF_LayerDef& out) { out.rowbytes = 0; }},
        {"input width negative", [](PF_LayerDef& in, PF_LayerDef&) { in.width = -5; }},
        {"input height negative", [](PF_LayerDef& in, PF_LayerDef&) { in.height = -1; }},
        {"output width negative", [](PF_LayerDef&, PF_LayerDef& out) { out.width = -5; }},
        {"output height negative", [](PF_LayerDef&, PF_LayerDef& out) { out.height = -2; }},
        {"no input pixels", [](PF_LayerDef& in, PF_LayerDef&) { in.data = nullptr; }},
        {"no output pixels", [](PF_LayerDef&, PF_LayerDef& out) { out.data = nullptr; }, true},
        {"pixel count beyond 32 bits", claim(false, 70000, 70000)},
        {"byte count beyond 32 bits", claim(false, 40000, 30000)},
        {"one row beyond 31 bits", claim(false, 0x20000000, 1)},
        // Found by the host-boundary fuzzer: rows of the overlap were copied a claimed row apart.
        {"output a million pixels wide", claim(true, 1 << 20, 3)},
        {"output byte count beyond 32 bits", claim(true, 40000, 30000)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        HostWorld input(6, 4, Depth::Eight), output(6, 4, Depth::Eight);
        known::fillPattern(input);
        output.fill(kMark);
        const std::vector<uint8_t> marked = output.pixelBytes();
        host->suites().resetCalls();
        EXPECT_EQ(renderLying(input, output, c.lie), PF_Err_BAD_CALLBACK_PARAM);
        EXPECT_EQ(output.pixelBytes(), marked);
        EXPECT_EQ(host->suites().calls(fxhost::Callback::NewHandle), c.handleFirst ? 1 : 0);
    }
}

// The largest side the driver takes renders; one pixel more, on input or output, is refused.
TEST_F(BadWorld, OnePixelWiderThanTheDriversTexturesIsRefused) {
    GLint largest = 0;
    reinterpret_cast<void (*)(GLenum, GLint*)>(eglGetProcAddress("glGetIntegerv"))(GL_MAX_TEXTURE_SIZE,
                                                                                   &largest);
    ASSERT_GT(largest, 0);
    const std::pair<int, int> extras[] = {{0, 0}, {1, 0}, {0, 1}};  // pixels beyond it, input and output
    for (const auto& extra : extras) {
        SCOPED_TRACE(testing::Message() << extra.first << ", " << extra.second);
        HostWorld input(largest + extra.first, 1, Depth::Eight),
            output(largest + extra.second, 1, Depth::Eight);
        output.fill(kMark);
        const std::vector<uint8_t> marked = output.pixelBytes();
        const bool refused = extra.first + extra.second > 0;
        EXPECT_EQ(host->smartRender(&input, &output), refused ? PF_Err_BAD_CALLBACK_PARAM : PF_Err_NONE);
        if (refused) {
            EXPECT_EQ(output.pixelBytes(), marked);
        }
        EXPECT_TRUE(output.guardsIntact());
    }
}

// Empty worlds render nothing and succeed.
TEST_F(BadWorld, OutputOfAnotherSizeGetsTheOverlapAndNothingElse) {
    struct Case {
        int inWidth, inHeight, outWidth, outHeight;
    } cases[] = {{9, 7, 4, 3}, {4, 3, 9, 7}, {9, 2, 3, 6}, {1, 1, 5, 5},
                 {0, 0, 0, 0}, {0, 3, 0, 3}, {4, 0, 4, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.inWidth << "x" << c.inHeight << " into " << c.outWidth << "x" << c.outHeight);
        HostWorld input(c.inWidth, c.inHeight, Depth::Eight),
            output(c.outWidth, c.outHeight, Depth::Eight, 3);
        known::fillPattern(input);
        output.fill(kMark);
        EXPECT_EQ(host->smartRender(&input, &output), PF_Err_NONE);
        EXPECT_TRUE(output.guardsIntact());
        for (int y = 0; y < c.outHeight; ++y) {
            for (int x = 0; x < c.outWidth; ++x) {
                float got[4];
                output.getPixel(x, y, got);
                if (x < c.inWidth && y < c.inHeight) {
                    const known::ARGB want = known::isRed(x, y) ? known::kTurned.red : known::kGrey;
                    EXPECT_NEAR(got[1], want.r, 1.5f) << x << "," << y;
                    EXPECT_NEAR(got[2], want.g, 1.5f) << x << "," << y;
                } else {
                    EXPECT_EQ(got[0], kMark[0]) << x << "," << y << " lies outside the input";
                    EXPECT_EQ(got[3], kMark[3]) << x << "," << y << " lies outside the input";
                }
            }
        }
    }
}

}  // namespace
