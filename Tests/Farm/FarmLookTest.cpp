// The farm's chunks render with the keys and the look given to farm submit: each chunk's command,
// as the batch script runs it, writes the pixels of a local render of the same frames. sbatch is a
// stand-in here that only records its arguments, so no cluster is needed; the script is then run
// once per array task, as Slurm would.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "CommandRunner.h"
#include "SequenceFiles.h"

namespace {

class FarmLook : public WithFolder<> {
protected:
    void SetUp() override {
        WithFolder::SetUp();
        std::filesystem::create_directory(dir + "/bin");
        std::ofstream(dir + "/bin/sbatch") << "#!/bin/sh\necho \"$@\" >> " + dir + "/sbatch.log\necho 4242\n";
        std::filesystem::permissions(dir + "/bin/sbatch", std::filesystem::perms::owner_all);
        in = dir + "/in_%04d.png";
        out = dir + "/out_%04d.png";
    }
    CommandResult submit(const std::string& args) {
        return runCommand("PATH=" + dir + "/bin:$PATH " OSTRIVANE_FXHOST_PATH " farm submit --chunk 3 " + args + " " +
                          in + " " + out);
    }

    std::string in, out;
};

}  // namespace

TEST_F(FarmLook, ChunksRenderWithTheKeysAndTheLookAsSubmitted) {
    makeFrames(in, 1, 6);
    std::ofstream(dir + "/look.json") << R"({"format": "fxhost look", "version": 1,
        "effect": "Ostrivane Hue And Saturation", "parameters": {"Hue Value": 45,
        "Saturation": [{"frame": 2, "value": 0.2}, {"frame": 5, "value": 1.8}]}})";
    const std::string options = "--look " + dir + "/look.json --set \"Hue Value=0@1,300@6\" ";
    CommandResult r = runFxhost("render " + options + in + " " + dir + "/c_%04d.png");
    ASSERT_EQ(r.status, 0) << r.err;
    r = submit(options);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "4242\n");
    // Chunks queued now render with the look as it was submitted, whatever becomes of the file.
    std::ofstream(dir + "/look.json", std::ios::trunc) << "{}";
    for (const char* task : {"1", "2"}) {
        r = runCommand(std::string("SLURM_ARRAY_TASK_ID=") + task + " bash " + dir + "/.fxhost-farm/out_@04d.png/render.sh");
        ASSERT_EQ(r.status, 0) << r.err;
    }
    for (int frame = 1; frame <= 6; ++frame)
        EXPECT_EQ(samePixels(frameName(out, frame), frameName(dir + "/c_%04d.png", frame)), "") << frame;
}
