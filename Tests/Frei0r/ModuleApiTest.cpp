// The module driven through its f0r_* functions, as the three hosts call them: MLT's order
// (f0r_init per filter, f0r_deinit before the last destruct), instances updated from several
// threads at once, and calls made on threads where the application has its own EGL context
// current, or none. What it tells of itself the hosts read in HostProgramsTest.cpp (GStreamer's
// element and property names, FFmpeg's colour model) and the install tests (its version).
#include <dlfcn.h>
#include <EGL/egl.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "HostGLContext.h"

extern "C" {
#include <frei0r.h>
}

namespace {

// The module as the applications load it: dlopen, then its f0r_* functions by name.
struct Module {
    template <typename F>
    F get(const char* name) const { return reinterpret_cast<F>(handle ? dlsym(handle, name) : nullptr); }
    void set(f0r_instance_t instance, double hue, double saturation) {
        setParam(instance, &hue, 0);
        setParam(instance, &saturation, 1);
    }

    void* handle = dlopen(FREI0R_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    decltype(&f0r_init) init = get<decltype(&f0r_init)>("f0r_init");
    decltype(&f0r_deinit) deinit = get<decltype(&f0r_deinit)>("f0r_deinit");
    decltype(&f0r_construct) construct = get<decltype(&f0r_construct)>("f0r_construct");
    decltype(&f0r_destruct) destruct = get<decltype(&f0r_destruct)>("f0r_destruct");
    decltype(&f0r_set_param_value) setParam = get<decltype(&f0r_set_param_value)>("f0r_set_param_value");
    decltype(&f0r_get_param_value) getParam = get<decltype(&f0r_get_param_value)>("f0r_get_param_value");
    decltype(&f0r_update) update = get<decltype(&f0r_update)>("f0r_update");
};

// Colours and alpha that differ in every pixel, so a mixed-up channel or row shows.
std::vector<uint32_t> pattern(int width, int height) {
    std::vector<uint32_t> frame(static_cast<size_t>(width) * height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const uint8_t rgba[4] = {static_cast<uint8_t>(x * 9), static_cast<uint8_t>(y * 13),
                                     static_cast<uint8_t>(200 - x * 3), static_cast<uint8_t>(x * 7 + y * 3)};
            std::memcpy(&frame[static_cast<size_t>(y) * width + x], rgba, 4);
        }
    return frame;
}

std::vector<uint32_t> render(Module& m, f0r_instance_t instance, const std::vector<uint32_t>& in) {
    std::vector<uint32_t> out(in.size(), 0);
    m.update(instance, 0.0, in.data(), out.data());
    return out;
}

class ModuleApi : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(m.handle, nullptr) << dlerror(); }
    Module m;
};

// Two instances, made and set down in MLT's order, updated from several threads at once.
TEST_F(ModuleApi, InstancesStartAtTheDefaultsOutliveDeinitAndKeepTheirOwnValuesOnEveryThread) {
    const std::vector<uint32_t> small = pattern(48, 32), large = pattern(64, 40);
    ASSERT_EQ(m.init(), 1);
    f0r_instance_t a = m.construct(48, 32);
    m.init();  // MLT: once more for every filter
    f0r_instance_t b = m.construct(64, 40);
    ASSERT_TRUE(a && b);
    double defaults[2] = {-1, -1};
    m.getParam(a, &defaults[0], 0);
    m.getParam(a, &defaults[1], 1);
    EXPECT_EQ(defaults[0], 0.0);  // 0 degrees
    EXPECT_EQ(defaults[1], 0.5);  // saturation 1 of 0 to 2
    m.set(a, 0.25, 0.75);
    m.set(b, 0.5, 0.2);
    const std::vector<uint32_t> aBefore = render(m, a, small), bBefore = render(m, b, large);
    EXPECT_NE(aBefore, small);
    // As MLT's slice threads do: several threads update one instance at the same time.
    std::vector<std::thread> threads;
    std::vector<int> wrong(6, 0);
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 6; ++i) wrong[t] += t % 2 ? render(m, b, large) != bBefore : render(m, a, small) != aBefore;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, std::vector<int>(6, 0));
    m.deinit();
    m.deinit();  // MLT: before its instances are destructed
    EXPECT_EQ(render(m, a, small), aBefore);
    EXPECT_EQ(render(m, b, large), bBefore);
    m.destruct(a);
    EXPECT_EQ(render(m, b, large), bBefore);
    m.destruct(b);
    // The last user set the effect down; the next one sets it up again.
    f0r_instance_t again = m.construct(48, 32);
    ASSERT_NE(again, nullptr);
    m.set(again, 0.25, 0.75);
    EXPECT_EQ(render(m, again, small), aBefore);
    m.destruct(again);
}

TEST_F(ModuleApi, TheCallersEGLStateIsAsItWasAfterEveryCall) {
    const std::vector<uint32_t> frame = pattern(24, 16);
    f0r_instance_t instance = nullptr;
    std::vector<uint32_t> reference;
    // An editor's UI thread: its own context current, and the OpenGL ES API bound.
    std::thread ui([&] {
        fxhost::HostGLContext application;
        application.makeCurrent();
        eglBindAPI(EGL_OPENGL_ES_API);
        auto same = [&](const char* after) {
            eglBindAPI(EGL_OPENGL_API);
            EXPECT_EQ(application.stateDifference(), "") << "after " << after;
            eglBindAPI(EGL_OPENGL_ES_API);
        };
        instance = m.construct(24, 16);
        EXPECT_EQ(eglQueryAPI(), static_cast<EGLenum>(EGL_OPENGL_ES_API));
        same("f0r_construct");
        m.set(instance, 0.4, 0.9);
        reference = render(m, instance, frame);
        same("f0r_update");
        eglBindAPI(EGL_OPENGL_API);
        fxhost::HostGLContext::releaseCurrent();
    });
    ui.join();
    ASSERT_NE(instance, nullptr);
    EXPECT_NE(reference, frame);
    // Render threads with no context: left with none, so the next thread can render too.
    for (int i = 0; i < 2; ++i) {
        std::thread worker([&] {
            EXPECT_EQ(render(m, instance, frame), reference) << "worker " << i;
            EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT) << "worker " << i;
        });
        worker.join();
    }
    std::thread last([&] {
        fxhost::HostGLContext application;
        application.makeCurrent();
        m.destruct(instance);
        EXPECT_EQ(application.stateDifference(), "") << "after f0r_destruct";
        fxhost::HostGLContext::releaseCurrent();
    });
    last.join();
}

}  // namespace
