// What the frei0r tests share: a temporary folder removed afterwards, RGBA test frames with
// partial alpha, raw RGBA bytes of any image or movie (decoded by ffmpeg), and the reference
// every host is held to: what `fxhost render` writes for the same frame and values.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "CommandRunner.h"

namespace frei0rtest {

inline const std::string kModuleName = "ostrivane-hue-and-saturation";
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
// melt hangs before its first frame with the sanitizers' runtimes preloaded, with or without this
// module, so under them its cases are skipped, and say so.
#define SKIP_MELT_WHEN_SANITIZED() \
    if (kSanitized) GTEST_SKIP() << "melt does not run with the sanitizers' runtimes preloaded"

class Frei0rFolder : public ::testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/fxhost-frei0r-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir = name;
        // Every host finds the module in the build tree, and GStreamer keeps its scan here.
        setenv("FREI0R_PATH", std::filesystem::path(FREI0R_MODULE_PATH).parent_path().c_str(), 1);
        setenv("GST_REGISTRY", (dir + "/gst-registry.bin").c_str(), 1);
#if defined(__SANITIZE_ADDRESS__)
        // A sanitized module needs the sanitizers' runtimes first in the applications, which are not
        // built with them; the applications' own leaks are not ours to report.
        std::string preload;
        for (const char* symbol : {"__asan_init", "__ubsan_handle_type_mismatch_v1"}) {
            Dl_info info;
            void* address = dlsym(RTLD_DEFAULT, symbol);
            if (address && dladdr(address, &info) && info.dli_fname) preload += std::string(info.dli_fname) + ":";
        }
        setenv("LD_PRELOAD", preload.c_str(), 1);
        const char* options = getenv("ASAN_OPTIONS");
        setenv("ASAN_OPTIONS", (std::string(options ? options : "") + ":detect_leaks=0").c_str(), 1);
#endif
    }
    void TearDown() override { std::filesystem::remove_all(dir); }

    std::string path(const std::string& name) const { return dir + "/" + name; }

    // A WxH RGBA PNG: the test pattern in colour, alpha running through every value.
    std::string makeFrame(int width, int height, const std::string& name) {
        const std::string file = path(name);
        const CommandResult r = runCommand(
            "ffmpeg -nostdin -v error -y -f lavfi -i \"testsrc2=size=" + std::to_string(width) + "x" +
            std::to_string(height) + ":rate=1,format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='mod(X*7+Y*3,256)'\"" +
            " -frames:v 1 " + file);
        EXPECT_EQ(r.status, 0) << r.err;
        return file;
    }

    // Every frame of `media` as raw RGBA bytes, rows of width × 4.
    std::string rawRgba(const std::string& media) {
        const CommandResult r = runCommand("ffmpeg -nostdin -v error -i " + media + " -f rawvideo -pix_fmt rgba -");
        EXPECT_EQ(r.status, 0) << r.err;
        return r.out;
    }

    static std::string readBytes(const std::string& file) {
        std::ifstream stream(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }

    // The renderer both the module and fxhost are asked for: FXHOST_RENDERER, which ctest sets for
    // each run of this suite, else auto.
    static std::string renderer() {
        const char* word = getenv("FXHOST_RENDERER");
        return word && *word ? word : "auto";
    }

    std::string fxhostReference(const std::string& input, const std::string& hue, const std::string& saturation) {
        const std::string out = path("ref-" + hue + "-" + saturation + "-" + std::filesystem::path(input).filename().string());
        const CommandResult r = runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " -q render --renderer " + renderer() +
                                           " --set \"Hue Value=" + hue + "\" --set Saturation=" + saturation + " " +
                                           input + " " + out);
        EXPECT_EQ(r.status, 0) << r.err;
        return rawRgba(out);
    }

    // A melt profile of exactly the frame's size, square pixels, 25 frames a second.
    std::string meltProfile(int width, int height) {
        const std::string file = path("profile-" + std::to_string(width) + "x" + std::to_string(height));
        std::ofstream(file) << "description=test\nwidth=" << width << "\nheight=" << height
                            << "\nprogressive=1\nsample_aspect_num=1\nsample_aspect_den=1\ndisplay_aspect_num="
                            << width << "\ndisplay_aspect_den=" << height
                            << "\nframe_rate_num=25\nframe_rate_den=1\ncolorspace=601\n";
        return file;
    }

    static std::string repeat(const std::string& frame, int count) {
        std::string all;
        for (int i = 0; i < count; ++i) all += frame;
        return all;
    }

    std::string dir;
};

}  // namespace frei0rtest
