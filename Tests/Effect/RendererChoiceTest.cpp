// The host picks the effect's renderer through the renderer suite: the CPU renderer is taken only
// when asked for, and the host then makes no context of its own; a host that never offers the
// suite keeps the GL pass; a band of rows renders as exactly those rows of the whole frame.
#include <gtest/gtest.h>

#include <EGL/egl.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include "EffectHost.h"
#include "OstrivaneRendererSuite.h"

using fxhost::Depth;
using fxhost::EffectHost;
using fxhost::HostOptions;
using fxhost::HostWorld;
using fxhost::Renderer;

namespace {

struct OneFrame {
    Renderer served;
    bool hostContext;
};

void fillPattern(HostWorld& world) {
    for (int y = 0; y < world.height(); ++y) {
        for (int x = 0; x < world.width(); ++x) {
            const float argb[4] = {static_cast<float>((x * 37 + y * 11) % 256), static_cast<float>((x * 7) % 256),
                                   static_cast<float>((y * 13) % 256), static_cast<float>((x * y) % 256)};
            world.setPixel(x, y, argb);
        }
    }
}

OneFrame renderOneFrame(Renderer renderer, bool offerSuite) {
    HostOptions options;
    options.renderer = renderer;
    OneFrame result;
    {
        EffectHost host(OSTRIVANE_BUNDLE_PATH, options);
        if (!offerSuite) host.faults().missingSuites.insert(kOstrivaneRendererSuite);
        EXPECT_EQ(host.globalSetup(), PF_Err_NONE);
        EXPECT_EQ(host.paramsSetup(), PF_Err_NONE);
        host.setParamValue(1, 90.0);
        HostWorld input(33, 9, Depth::Eight), output(33, 9, Depth::Eight);
        fillPattern(input);
        EXPECT_EQ(host.renderFrame(input, output), PF_Err_NONE);
        EXPECT_TRUE(host.violations().empty()) << host.violations().front();
        result.served = host.renderer();
        result.hostContext = host.glContext() != nullptr;
    }
    return result;
}

}  // namespace

TEST(RendererChoice, TheCPURendererIsTakenOnlyWhenAskedFor) {
    const OneFrame cpu = renderOneFrame(Renderer::CPU, true);
    EXPECT_EQ(cpu.served, Renderer::CPU);
    EXPECT_FALSE(cpu.hostContext);
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);

    const OneFrame gl = renderOneFrame(Renderer::GL, true);
    EXPECT_EQ(gl.served, Renderer::GL);
    EXPECT_TRUE(gl.hostContext);
}

TEST(RendererChoice, AHostWithoutTheSuiteGetsTheGLPass) {
    const OneFrame automatic = renderOneFrame(Renderer::Auto, false);
    EXPECT_EQ(automatic.served, Renderer::GL);
    EXPECT_TRUE(automatic.hostContext);

    HostOptions options;
    options.renderer = Renderer::CPU;
    EffectHost host(OSTRIVANE_BUNDLE_PATH, options);
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
    HostOptions options;
    options.renderer = Renderer::CPU;
    EffectHost host(OSTRIVANE_BUNDLE_PATH, options);
    ASSERT_EQ(host.globalSetup(), PF_Err_NONE);
    ASSERT_EQ(host.paramsSetup(), PF_Err_NONE);
    host.setParamValue(1, 200.5);
    host.setParamValue(2, 1.37);
    HostWorld whole(41, 30, Depth::Eight), wholeOut(41, 30, Depth::Eight);
    fillPattern(whole);
    ASSERT_EQ(host.renderFrame(whole, wholeOut), PF_Err_NONE);
    for (const auto& band : {std::pair<int, int>{0, 7}, {7, 16}, {23, 7}}) {
        HostWorld rows(41, band.second, Depth::Eight), rowsOut(41, band.second, Depth::Eight);
        for (int y = 0; y < band.second; ++y)
            std::memcpy(static_cast<uint8_t*>(rows.def()->data) + static_cast<size_t>(y) * rows.rowbytes(),
                        static_cast<const uint8_t*>(whole.def()->data) +
                            static_cast<size_t>(band.first + y) * whole.rowbytes(),
                        41 * 4);
        ASSERT_EQ(host.renderFrame(rows, rowsOut), PF_Err_NONE);
        for (int y = 0; y < band.second; ++y)
            EXPECT_EQ(std::memcmp(static_cast<const uint8_t*>(rowsOut.def()->data) +
                                      static_cast<size_t>(y) * rowsOut.rowbytes(),
                                  static_cast<const uint8_t*>(wholeOut.def()->data) +
                                      static_cast<size_t>(band.first + y) * wholeOut.rowbytes(),
                                  41 * 4),
                      0)
                << "row " << band.first + y << " of the band from " << band.first;
    }
    host.globalSetdown();
}
