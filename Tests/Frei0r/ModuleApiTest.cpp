// The module driven through its f0r_* functions, as the three hosts call them: information
// before f0r_init, MLT's order (f0r_init per filter, f0r_deinit before the last destruct),
// instances updated from several threads at once, and calls made on threads where the
// application has its own EGL context current, or none.
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

struct Module {
    Module() {
        handle = dlopen(FREI0R_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
        if (!handle) return;
        auto get = [this](const char* name) { return dlsym(handle, name); };
        init = reinterpret_cast<int (*)()>(get("f0r_init"));
        deinit = reinterpret_cast<void (*)()>(get("f0r_deinit"));
        pluginInfo = reinterpret_cast<void (*)(f0r_plugin_info_t*)>(get("f0r_get_plugin_info"));
        paramInfo = reinterpret_cast<void (*)(f0r_param_info_t*, int)>(get("f0r_get_param_info"));
        construct = reinterpret_cast<f0r_instance_t (*)(unsigned, unsigned)>(get("f0r_construct"));
        destruct = reinterpret_cast<void (*)(f0r_instance_t)>(get("f0r_destruct"));
        setParam = reinterpret_cast<void (*)(f0r_instance_t, f0r_param_t, int)>(get("f0r_set_param_value"));
        getParam = reinterpret_cast<void (*)(f0r_instance_t, f0r_param_t, int)>(get("f0r_get_param_value"));
        update = reinterpret_cast<void (*)(f0r_instance_t, double, const uint32_t*, uint32_t*)>(get("f0r_update"));
    }
    ~Module() {
        if (handle) dlclose(handle);
    }
    double param(f0r_instance_t instance, int index) {
        double value = -1;
        getParam(instance, &value, index);
        return value;
    }
    void set(f0r_instance_t instance, double hue, double saturation) {
        setParam(instance, &hue, 0);
        setParam(instance, &saturation, 1);
    }

    void* handle = nullptr;
    int (*init)() = nullptr;
    void (*deinit)() = nullptr;
    void (*pluginInfo)(f0r_plugin_info_t*) = nullptr;
    void (*paramInfo)(f0r_param_info_t*, int) = nullptr;
    f0r_instance_t (*construct)(unsigned, unsigned) = nullptr;
    void (*destruct)(f0r_instance_t) = nullptr;
    void (*setParam)(f0r_instance_t, f0r_param_t, int) = nullptr;
    void (*getParam)(f0r_instance_t, f0r_param_t, int) = nullptr;
    void (*update)(f0r_instance_t, double, const uint32_t*, uint32_t*) = nullptr;
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

TEST_F(ModuleApi, DescribesTheEffectBeforeInitAndMapsSlidersOntoZeroToOne) {
    f0r_plugin_info_t info{};
    m.pluginInfo(&info);  // MLT scans without f0r_init
    EXPECT_STREQ(info.name, "Ostrivane Hue And Saturation");
    EXPECT_EQ(info.plugin_type, F0R_PLUGIN_TYPE_FILTER);
    EXPECT_EQ(info.color_model, F0R_COLOR_MODEL_RGBA8888);
    EXPECT_EQ(info.frei0r_version, FREI0R_MAJOR_VERSION);
    EXPECT_EQ(std::to_string(info.major_version) + "." + std::to_string(info.minor_version), OSTRIVANE_VERSION);
    ASSERT_EQ(info.num_params, 2);
    f0r_param_info_t hue{}, saturation{};
    m.paramInfo(&hue, 0);
    m.paramInfo(&saturation, 1);
    EXPECT_STREQ(hue.name, "Hue Value");
    EXPECT_EQ(hue.type, F0R_PARAM_DOUBLE);
    EXPECT_NE(std::string(hue.explanation).find("0 to 1 maps linearly onto 0 to 360"), std::string::npos);
    EXPECT_STREQ(saturation.name, "Saturation");
    EXPECT_NE(std::string(saturation.explanation).find("onto 0 to 2"), std::string::npos);

    ASSERT_EQ(m.init(), 1);
    f0r_instance_t instance = m.construct(16, 8);
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(m.param(instance, 0), 0.0);  // 0 degrees
    EXPECT_EQ(m.param(instance, 1), 0.5);  // saturation 1 of 0 to 2
    m.destruct(instance);
    m.deinit();
}

TEST_F(ModuleApi, InstancesOutliveDeinitAndKeepTheirOwnValues) {
    const std::vector<uint32_t> small = pattern(16, 8), large = pattern(40, 24);
    m.init();
    f0r_instance_t a = m.construct(16, 8);
    m.init();  // MLT: once more for every filter
    f0r_instance_t b = m.construct(40, 24);
    ASSERT_TRUE(a && b);
    m.set(a, 0.25, 0.75);
    m.set(b, 0.5, 0.2);
    const std::vector<uint32_t> aBefore = render(m, a, small), bBefore = render(m, b, large);
    EXPECT_NE(aBefore, small);
    m.deinit();
    m.deinit();  // MLT: before its instances are destructed
    EXPECT_EQ(render(m, a, small), aBefore);
    EXPECT_EQ(render(m, b, large), bBefore);
    m.destruct(a);
    EXPECT_EQ(render(m, b, large), bBefore);
    m.destruct(b);
    // The last user set the effect down; the next one sets it up again.
    f0r_instance_t again = m.construct(16, 8);
    ASSERT_NE(again, nullptr);
    m.set(again, 0.25, 0.75);
    EXPECT_EQ(render(m, again, small), aBefore);
    m.destruct(again);
}

TEST_F(ModuleApi, UpdatesFromManyThreadsAtOnceMatchOneAtATime) {
    const std::vector<uint32_t> small = pattern(48, 32), large = pattern(64, 40);
    f0r_instance_t a = m.construct(48, 32);
    f0r_instance_t b = m.construct(64, 40);
    ASSERT_TRUE(a && b);
    m.set(a, 0.25, 0.75);
    m.set(b, 0.7, 0.1);
    const std::vector<uint32_t> aAlone = render(m, a, small), bAlone = render(m, b, large);
    // As MLT's slice threads do: several threads update one instance at the same time.
    std::vector<std::thread> threads;
    std::vector<int> wrong(6, 0);
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 6; ++i) {
                if (t % 2 ? render(m, b, large) != bAlone : render(m, a, small) != aAlone) ++wrong[t];
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (int t = 0; t < 6; ++t) EXPECT_EQ(wrong[t], 0) << "thread " << t;
    m.destruct(a);
    m.destruct(b);
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
