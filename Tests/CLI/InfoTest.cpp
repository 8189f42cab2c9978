#include <gtest/gtest.h>
#include <stdlib.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "CommandRunner.h"

TEST(FxhostInfo, PrintsAboutVersionFlagsAndParameters) {
    const CommandResult r = runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " info");
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("Ostrivane Hue And Saturation v" OSTRIVANE_VERSION "\nOstrivane Hue And Saturation\n"),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("Version:    " OSTRIVANE_VERSION "." OSTRIVANE_VERSION_PATCH_TEXT " (develop, build 1)"), std::string::npos);
    EXPECT_NE(r.out.find("out_flags:  none"), std::string::npos);
    EXPECT_NE(r.out.find("out_flags2: PF_OutFlag2_SUPPORTS_SMART_RENDER\n"), std::string::npos);
    EXPECT_NE(
        r.out.find("1  Hue Value    float slider  valid 0 to 360  slider 0 to 360  default 0  precision 1"),
        std::string::npos);
    EXPECT_NE(r.out.find("2  Saturation   float slider  valid 0 to 2  slider 0 to 2  default 1  precision 2"),
              std::string::npos);
}

TEST(FxhostInfo, BundleThatIsNotAnEffectIsAClearError) {
    const CommandResult r =
        runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " info --plugin /lib/x86_64-linux-gnu/libm.so.6");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("does not export EntryPointFunc"), std::string::npos) << r.err;
}

// Which renderer a command asked for, which served, and why: in info's table and in -v's lines.
// The CPU renderer starts no GL (the effect reports its driver whenever it makes a context). An
// effect with no CPU renderer gets GL under auto and is refused under cpu, by name.
TEST(FxhostInfo, SaysWhichRendererServedAndWhy) {
    const std::string fxhost = OSTRIVANE_FXHOST_PATH, glOnly = OSTRIVANE_PASSTHROUGH_GL_ONLY_PATH;
    const std::string out = "/tmp/fxhost-renderer-" + std::to_string(getpid()) + ".png";
    const struct {
        std::string args;
        int status;
        std::string said, unsaid;
    } cases[] = {
        {"info --renderer cpu", 0, "Renderer:   cpu (asked for)\n", ""},
        {"info --renderer gl", 0, "Renderer:   gl (asked for)\n", ""},
        {"info --renderer auto --plugin " + glOnly, 0, "Renderer:   gl (the effect has no CPU renderer)\n", ""},
        {"info --renderer cpu --plugin " + glOnly, 1, glOnly + ": the effect has no CPU renderer", ""},
        {"-v render --renderer cpu " + std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png " + out, 0,
         "renderer: cpu (asked for)\n", "OpenGL"},
        {"-v render --renderer gl " + std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png " + out, 0,
         "OpenGL Renderer", ""},
        {"render --renderer fast in.png out.png", 2, "--renderer", ""},
    };
    // Without a GPU device node, GL could only be a software rasteriser: auto takes the CPU.
    bool gpuNode = std::filesystem::exists("/dev/nvidiactl");
    if (std::filesystem::is_directory("/dev/dri"))
        for (const auto& entry : std::filesystem::directory_iterator("/dev/dri"))
            gpuNode = gpuNode || entry.path().filename().string().rfind("renderD", 0) == 0;
    if (!gpuNode) {
        const CommandResult r = runCommand(fxhost + " info");
        EXPECT_NE(r.out.find("Renderer:   cpu (no GPU device node"), std::string::npos) << r.out;
    }
    for (const auto& c : cases) {
        const CommandResult r = runCommand(fxhost + " " + c.args);
        EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.err;
        EXPECT_NE((r.out + r.err).find(c.said), std::string::npos) << c.args << "\n" << r.out << r.err;
        if (!c.unsaid.empty()) {
            EXPECT_EQ((r.out + r.err).find(c.unsaid), std::string::npos) << c.args << "\n" << r.out << r.err;
        }
    }
    std::remove(out.c_str());
}

// A bundle that is missing, or cut short (which the dynamic loader would map and fault on), is
// bundle trouble in every command: exit 1, one line naming the file and why, nothing written.
TEST(FxhostInfo, MissingOrCutShortBundleExitsOneInEveryCommand) {
    char name[] = "/tmp/fxhost-bundle-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    const std::string dir = name, sample = std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png";
    ASSERT_EQ(std::system(("cp " + sample + " " + dir + "/in_0001.png && head -c 5000 " +
                           OSTRIVANE_BUNDLE_PATH + " > " + dir + "/cut.plugin")
                              .c_str()),
              0);
    const std::string fxhost = OSTRIVANE_FXHOST_PATH;
    const std::string commands[] = {
        fxhost + " info --plugin BUNDLE",
        fxhost + " render --plugin BUNDLE " + sample + " " + dir + "/out.png",
        fxhost + " sheet --plugin BUNDLE --vary 'Hue Value=0:300:2' " + sample + " " + dir + "/sheet.png",
        "timeout 60 " + fxhost + " preview --plugin BUNDLE " + sample,
        fxhost + " validate --plugin BUNDLE",
        fxhost + " farm submit --dry-run --chunk 1 --plugin BUNDLE " + dir + "/in_%04d.png " + dir +
            "/out_%04d.png",
    };
    for (const std::string& bundle : {dir + "/missing.plugin", dir + "/cut.plugin"}) {
        for (std::string command : commands) {
            command.replace(command.find("BUNDLE"), 6, bundle);
            const CommandResult r = runCommand(command);
            EXPECT_EQ(r.status, 1) << command << "\n" << r.err;
            EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << command << "\n" << r.err;
            EXPECT_NE(r.err.find("'" + bundle + "'"), std::string::npos) << command << "\n" << r.err;
            if (bundle.find("cut") != std::string::npos) {
                EXPECT_NE(r.err.find("cut short"), std::string::npos) << command << "\n" << r.err;
            }
        }
    }
    EXPECT_EQ(runCommand("ls -A " + dir).out, "cut.plugin\nin_0001.png\n") << "something was written";
    std::system(("rm -rf " + dir).c_str());
}
