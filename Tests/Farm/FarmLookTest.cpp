// The farm's chunks render with the keys and the look given to farm submit: each chunk's command,
// as the batch script runs it, writes the pixels of a local render of the same frames. sbatch is a
// stand-in here that only records its arguments, so no cluster is needed; the script is then run
// once per array task, as Slurm would.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "CommandRunner.h"
#include "SequenceFiles.h"

namespace {

const std::string kFxhost = OSTRIVANE_FXHOST_PATH;
const std::string kLook = R"({"format": "fxhost look", "version": 1, "effect": "Ostrivane Hue And Saturation",
    "parameters": {"Hue Value": 45, "Saturation": [{"frame": 2, "value": 0.2}, {"frame": 5, "value": 1.8}]}})";

class FarmLook : public ::testing::Test {
protected:
    void SetUp() override {
        dir = "/tmp/fxhost-farmlook-" + std::to_string(getpid()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_EQ(std::system(("rm -rf " + dir + " && mkdir -p " + dir + "/bin " + dir + "/clean").c_str()),
                  0);
        std::ofstream(dir + "/bin/sbatch") << "#!/bin/sh\necho \"$@\" >> " + dir + "/sbatch.log\necho 4242\n";
        std::filesystem::permissions(dir + "/bin/sbatch", std::filesystem::perms::owner_all);
        in = dir + "/in_%04d.png";
        out = dir + "/out_%04d.png";
        state = dir + "/.fxhost-farm/out_@04d.png";
    }
    void TearDown() override {
        if (!HasFailure()) std::filesystem::remove_all(dir);
    }
    CommandResult submit(const std::string& args) {
        return runCommand("PATH=" + dir + "/bin:$PATH " + kFxhost + " farm submit --chunk 3 " + args + " " +
                          in + " " + out);
    }

    std::string dir, in, out, state;
};

}  // namespace

TEST_F(FarmLook, ChunksRenderWithTheKeysAndTheLookAsSubmitted) {
    makeFrames(in, 1, 6);
    std::ofstream(dir + "/look.json") << kLook;
    const std::string keys = "--set \"Hue Value=0@1,300@6\"";
    CommandResult r = runCommand(kFxhost + " render --look " + dir + "/look.json " + keys + " " + in + " " +
                                 dir + "/clean/c_%04d.png");
    ASSERT_EQ(r.status, 0) << r.err;

    r = submit("--look " + dir + "/look.json " + keys);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "4242\n");
    // Chunks queued now render with the look as it was submitted, whatever becomes of the file.
    std::ofstream(dir + "/look.json", std::ios::trunc) << "{}";
    for (int task = 1; task <= 2; ++task) {
        r = runCommand("SLURM_ARRAY_TASK_ID=" + std::to_string(task) + " bash " + state + "/render.sh");
        ASSERT_EQ(r.status, 0) << r.err;
    }
    for (int frame = 1; frame <= 6; ++frame) {
        EXPECT_EQ(samePixels(frameName(out, frame), frameName(dir + "/clean/c_%04d.png", frame)), "")
            << frame;
    }
}

TEST_F(FarmLook, BadKeysOrLookAreRefusedBeforeAnythingIsSubmitted) {
    makeFrames(in, 1, 3);
    std::ofstream(dir + "/look.json")
        << R"({"format": "fxhost look", "version": 1, "effect": "Ostrivane Hue And Saturation",
        "parameters": {"Saturation": 3}})";
    CommandResult r = submit("--look " + dir + "/look.json");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("3 is out of range for parameter \"Saturation\""), std::string::npos) << r.err;
    r = submit("--set \"Hue Value=0@1,90@1\"");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("key \"90@1\": frame 1 is keyed twice"), std::string::npos) << r.err;
    EXPECT_FALSE(std::filesystem::exists(dir + "/.fxhost-farm"));
    EXPECT_FALSE(std::filesystem::exists(dir + "/sbatch.log"));
}
