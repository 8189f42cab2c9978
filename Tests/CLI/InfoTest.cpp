// What fxhost says about the effect and its bundle: info's table, the renderer that served and
// why, and a bundle that is missing, cut short or no effect at all.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "CommandRunner.h"
#include "SequenceFiles.h"

TEST(FxhostInfo, PrintsAboutVersionFlagsAndParameters) {
    const CommandResult r = runFxhost("info");
    EXPECT_EQ(r.status, 0);
    for (const std::string line :
         {"Ostrivane Hue And Saturation v1.0\nOstrivane Hue And Saturation\n",
          "Version:    1.0.0 (develop, build 1), as the effect declares it\nHost:       fxhost " OSTRIVANE_VERSION "\n",
          "out_flags:  none",
          "out_flags2: PF_OutFlag2_SUPPORTS_SMART_RENDER\n",
          "1  Hue Value    float slider  valid 0 to 360  slider 0 to 360  default 0  precision 1",
          "2  Saturation   float slider  valid 0 to 2  slider 0 to 2  default 1  precision 2"})
        EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
}

// Which renderer a command asked for, which served, and why: in info's table and in -v's lines.
// The CPU renderer starts no GL. The effect's driver report goes to standard error, only with -v,
// and once, though a render makes a context of its own beside the effect's shared one. An effect
// with no CPU renderer gets GL under auto and is refused under cpu, by name.
TEST(FxhostInfo, SaysWhichRendererServedAndWhy) {
    const std::string glOnly = OSTRIVANE_PASSTHROUGH_GL_ONLY_PATH;
    const std::string render = "-v render " + std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png /tmp/fxhost-renderer-" +
                               std::to_string(getpid()) + ".png --renderer ";
    const struct {
        std::string args;
        int status;
        std::string said, unsaid;
    } cases[] = {
        {"info", 0, "2  Saturation", "OpenGL"},
        {"-v info --renderer gl", 0, "OpenGL Renderer", ""},
        {"info --renderer cpu", 0, "Renderer:   cpu (asked for)\n", ""},
        {"info --renderer gl", 0, "Renderer:   gl (asked for)\n", ""},
        {"info --renderer auto --plugin " + glOnly, 0, "Renderer:   gl (the effect has no CPU renderer)\n", ""},
        {"info --renderer cpu --plugin " + glOnly, 1, glOnly + ": the effect has no CPU renderer", ""},
        {render + "cpu", 0, "renderer: cpu (asked for)\n", "OpenGL"},
        {render + "gl", 0, "OpenGL Renderer", ""},
        {"render --renderer fast in.png out.png", 2, "--renderer", ""},
    };
    // Without a GPU device node, GL could only be a software rasteriser: auto takes the CPU.
    bool gpuNode = std::filesystem::exists("/dev/nvidiactl");
    if (std::filesystem::is_directory("/dev/dri"))
        for (const auto& entry : std::filesystem::directory_iterator("/dev/dri"))
            gpuNode = gpuNode || entry.path().filename().string().rfind("renderD", 0) == 0;
    if (!gpuNode) {
        EXPECT_NE(runFxhost("info").out.find("Renderer:   cpu (no GPU device node"), std::string::npos);
    }
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        const CommandResult r = runFxhost(c.args);
        EXPECT_EQ(r.status, c.status) << r.err;
        const size_t said = (r.out + r.err).find(c.said);
        EXPECT_NE(said, std::string::npos) << r.out << r.err;
        EXPECT_EQ((r.out + r.err).find(c.said, said + 1), std::string::npos) << r.out << r.err;
        EXPECT_EQ(r.out.find("OpenGL"), std::string::npos) << r.out;
        EXPECT_TRUE(c.unsaid.empty() || (r.out + r.err).find(c.unsaid) == std::string::npos) << r.out << r.err;
    }
    std::filesystem::remove("/tmp/fxhost-renderer-" + std::to_string(getpid()) + ".png");
}

// A bundle that is missing, cut short (which the dynamic loader would map and fault on) or no
// effect at all is bundle trouble in every command: exit 1, one line naming the file and why,
// nothing written.
TEST(FxhostInfo, BadBundlesExitOneInEveryCommand) {
    const std::string dir = "/tmp/fxhost-bundle-" + std::to_string(getpid());
    const std::string sample = std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png";
    ASSERT_EQ(std::system(("rm -rf " + dir + " && mkdir " + dir + " && cp " + sample + " " + dir +
                           "/in_0001.png && head -c 5000 " + OSTRIVANE_BUNDLE_PATH + " > " + dir + "/cut.plugin")
                              .c_str()),
              0);
    const std::string commands[] = {
        "info --plugin BUNDLE",
        "render --plugin BUNDLE " + sample + " " + dir + "/out.png",
        "sheet --plugin BUNDLE --vary 'Hue Value=0:300:2' " + sample + " " + dir + "/sheet.png",
        "preview --plugin BUNDLE " + sample,
        "validate --plugin BUNDLE",
        "farm submit --dry-run --chunk 1 --plugin BUNDLE " + dir + "/in_%04d.png " + dir + "/out_%04d.png",
    };
    const std::pair<std::string, std::string> bundles[] = {{dir + "/missing.plugin", ""},
                                                           {dir + "/cut.plugin", "cut short"},
                                                           {"/lib/x86_64-linux-gnu/libm.so.6", "does not export EntryPointFunc"}};
    for (const auto& [bundle, why] : bundles) {
        for (std::string command : commands) {
            command.replace(command.find("BUNDLE"), 6, bundle);
            SCOPED_TRACE(command);
            const CommandResult r = runCommand("timeout 60 " OSTRIVANE_FXHOST_PATH " " + command);
            EXPECT_EQ(r.status, 1) << r.err;
            EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
            EXPECT_NE(r.err.find("'" + bundle + "'"), std::string::npos) << r.err;
            EXPECT_NE(r.err.find(why), std::string::npos) << r.err;
        }
    }
    EXPECT_EQ(runCommand("ls -A " + dir).out, "cut.plugin\nin_0001.png\n") << "something was written";
    std::filesystem::remove_all(dir);
}
