// The host picks the effect's renderer through the renderer suite: the CPU renderer is taken only
// when asked for, and the host then makes no context of its own; a host that never offers the
// suite keeps the GL pass; a band of rows renders as exactly those rows of the whole frame.
#include <gtest/gtest.h>

#include <EGL/egl.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "EffectHost.h"
#include "OstrivaneRendererSuite.h"

using fxhost::Depth;
using fxhost::EffectHost;
using fxhost::HostOptions;
using fxhost::HostWorld;
using fxhost::Renderer;

namespace {

HostOptions asking(Renderer renderer) {
    HostOptions options;
    options.renderer = renderer;
    return options;
}

void fillPattern(HostWorld& world) {
    for (int y = 0; y < world.height(); ++y) {
        for (int x = 0; x < world.width(); ++x) {
            const float argb[4] = {static_cast<float>((x * 37 + y * 11) % 256),
                                   static_cast<float>((x * 7) % 256), static_cast<float>((y * 13) % 256),
                                   static_cast<float>((x * y) % 256)};
            world.setPixel(x, y, argb);
        }
    }
}

}  // namespace

TEST(RendererChoice, TheCPURendererIsTakenOnlyWhenAskedForAndOffered) {
    const struct {
        Renderer asked;
        bool offerSuite;
        Renderer served;
    } cases[] = {{Renderer::CPU, true, Renderer::CPU},
                 {Renderer::GL, true, Renderer::GL},
                 {Renderer::Auto, false, Renderer::GL}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << "asked " << static_cast<int>(c.asked) << ", suite " << c.offerSuite);
        {
            EffectHost host(OSTRIVANE_BUNDLE_PATH, asking(c.asked));
            if (!c.offerSuite) host.faults().missingSuites.insert(kOstrivaneRendererSuite);
            EXPECT_EQ(host.globalSetup(), PF_Err_NONE);
            EXPECT_EQ(host.paramsSetup(), PF_Err_NONE);
            host.setParamValue(1, 90.0);
            HostWorld input(33, 9, Depth::Eight), output(33, 9, Depth::Eight);
            fillPattern(input);
            EXPECT_EQ(host.renderFrame(input, output), PF_Err_NONE);
            EXPECT_TRUE(host.violations().empty()) << host.violations().front();
            EXPECT_EQ(host.renderer(), c.served);
            EXPECT_EQ(host.glContext() != nullptr, c.served == Renderer::GL);
        }
        if (c.served == Renderer::CPU) {
            EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
        }
    }

    // Asked for the CPU renderer, an effect that could not offer it is refused, not run on GL.
    EffectHost host(OSTRIVANE_BUNDLE_PATH, asking(Renderer::CPU));
    host.faults().missingSuites.insert(kOstrivaneRendererSuite);
    try {
        host.globalSetup();
        FAIL() << "an effect that could not offer its CPU renderer was taken as having one";
    } catch (const std::runtime_error& e) {
        EXPECT_NE(std::string(e.what()).find(OSTRIVANE_BUNDLE_PATH), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find("no CPU renderer"), std::string::npos) << e.what();
    }
}

TEST(RendererChoice, ABandOfRowsIsThoseRowsOfTheWholeFrame) {
    EffectHost host(OSTRIVANE_BUNDLE_PATH, asking(Renderer::CPU));
    ASSERT_EQ(host.globalSetup(), PF_Err_NONE);
    ASSERT_EQ(host.paramsSetup(), PF_Err_NONE);
    host.setParamValue(1, 200.5);
    host.setParamValue(2, 1.37);
    const int width = 41;
    HostWorld whole(width, 30, Depth::Eight), wholeOut(width, 30, Depth::Eight);
    fillPattern(whole);
    ASSERT_EQ(host.renderFrame(whole, wholeOut), PF_Err_NONE);
    const std::vector<uint8_t> all = wholeOut.pixelBytes();
    for (const auto& band : {std::pair<int, int>{0, 7}, {7, 16}, {23, 7}}) {
        SCOPED_TRACE(testing::Message() << band.second << " rows from " << band.first);
        HostWorld rows(width, band.second, Depth::Eight), rowsOut(width, band.second, Depth::Eight);
        for (int y = 0; y < band.second; ++y) {
            for (int x = 0; x < width; ++x) {
                float argb[4];
                whole.getPixel(x, band.first + y, argb);
                rows.setPixel(x, y, argb);
            }
        }
        ASSERT_EQ(host.renderFrame(rows, rowsOut), PF_Err_NONE);
        EXPECT_EQ(rowsOut.pixelBytes(),
                  std::vector<uint8_t>(all.begin() + band.first * width * 4,
                                       all.begin() + (band.first + band.second) * width * 4));
    }
    host.globalSetdown();
}
