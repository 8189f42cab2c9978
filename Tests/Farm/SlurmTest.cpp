#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include "CommandRunner.h"
#include "SequenceFiles.h"

namespace {

size_t count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

// A farm sequence in a folder of its own, rendered on the Slurm that SLURM_CONF (or the system's
// configuration) names; under ctest, the FarmSlurm fixture starts a one-node one for these tests.
class FarmOnSlurm : public WithFolder<> {
protected:
    void SetUp() override {
        WithFolder::SetUp();
        // Asked once: without a configuration sinfo retries for a minute.
        static const std::string why = [] {
            const CommandResult nodes = runCommand("timeout 20 sinfo -h -o %T");
            if (nodes.status == 0 && !nodes.out.empty()) return std::string();
            return "Slurm cannot be reached (sinfo: " + nodes.err.substr(0, nodes.err.find('\n')) +
                   "); start one with: eval \"$(bash scripts/slurm-local.sh start)\"";
        }();
        if (!why.empty()) {
            if (std::getenv("CI")) FAIL() << why;
            GTEST_SKIP() << why;
        }
        in = dir + "/in_%04d.png";
        out = dir + "/out_%04d.png";
        state = dir + "/.fxhost-farm/out_@04d.png";
    }

    // Submits INPUT (the frames unless given) and returns the job id, or "" if there is none.
    std::string submit(const std::string& input = "") {
        last = runFxhost("farm submit --set \"Hue Value=120\" --chunk 6 " + (input.empty() ? in : input) + " " + out);
        EXPECT_EQ(last.status, 0) << last.err;
        return last.out.empty() ? "" : last.out.substr(0, last.out.size() - 1);
    }
    // The frames of a local render of the same INPUT.
    void expectLocalRender(const std::string& input, int frames) {
        const CommandResult r = runFxhost("render --set \"Hue Value=120\" " + input + " " + dir + "/c_%04d.png");
        ASSERT_EQ(r.status, 0) << r.err;
        for (int frame = 1; frame <= frames; ++frame)
            EXPECT_EQ(samePixels(frameName(out, frame), frameName(dir + "/c_%04d.png", frame)), "");
    }

    // Until the job and its check job have left the queue. A requeued task waits out Slurm's cool-off
    // (about two minutes) before it runs again; here its start is moved to five seconds on instead.
    void waitFor(const std::string& job) {
        std::smatch found;
        const std::string record = readText(state + "/record");
        ASSERT_TRUE(std::regex_search(record, found, std::regex("check_job=([0-9]+)"))) << record;
        const std::string check = found[1].str();
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(5);
        std::set<std::string> nudged;
        for (;;) {
            const CommandResult queue = runCommand("squeue -h -o '%i %r' -j " + job + "," + check);
            if (queue.status == 0 && queue.out.empty()) return;
            std::istringstream lines(queue.out);
            for (std::string id, reason; lines >> id >> reason;) {
                // Not at once: slurmd refuses a job it has only just killed.
                if (reason == "BeginTime" && nudged.insert(id).second) {
                    runCommand("scontrol update JobId=" + id + " StartTime=now+5");
                }
            }
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << queue.out;
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
        }
    }

    std::string in, out, state;
    CommandResult last;
};

}  // namespace

TEST_F(FarmOnSlurm, ChunksMatchALocalRenderAndResumeRendersOnlyTheChunksMissingFrames) {
    makeFrames(in, 1, 24);
    std::string job = submit();
    ASSERT_TRUE(std::regex_match(last.out, std::regex("[0-9]+\n"))) << last.out;  // the job id alone
    EXPECT_NE(last.err.find("renders chunks 1-4 of 4 (24 of 24 frames to render, 6 a chunk)"), std::string::npos)
        << last.err;
    // auto is settled at submission, as fxhost info settles it here: every chunk names the renderer.
    const bool cpu = runFxhost("info").out.find("Renderer:   cpu") != std::string::npos;
    EXPECT_NE(readText(state + "/render.sh").find(std::string("'--renderer' '") + (cpu ? "cpu" : "gl") + "'"),
              std::string::npos)
        << readText(state + "/render.sh");
    waitFor(job);
    expectLocalRender(in, 24);
    EXPECT_NE(readText(state + "/check.log").find("all 24 frames of " + out + " are there and read back"),
              std::string::npos)
        << readText(state + "/check.log");
    CommandResult r = runFxhost("farm status " + job);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(count(r.out, "COMPLETED"), 5u) << r.out;  // four chunks and the check job
    EXPECT_EQ(count(r.out, " 6/6\n"), 4u) << r.out;

    // Frames 10 and 11 are chunk 2's, 14 is chunk 3's.
    for (int frame : {10, 11, 14}) ASSERT_TRUE(std::filesystem::remove(frameName(out, frame)));
    job = submit();
    EXPECT_NE(last.err.find("renders chunks 2,3 of 4 (3 of 24 frames to render"), std::string::npos) << last.err;
    waitFor(job);
    expectLocalRender(in, 24);
    for (int chunk = 1; chunk <= 4; ++chunk) {
        const std::string progress = readText(state + "/chunk-" + std::to_string(chunk) + ".progress");
        EXPECT_EQ(count(progress, "state=end\n"), chunk == 2 || chunk == 3 ? 2u : 1u) << chunk;
        EXPECT_EQ(count(progress, "state=running\n"), chunk == 2 ? 8u : chunk == 3 ? 7u : 6u) << progress;
    }

    EXPECT_EQ(submit(), "");
    EXPECT_NE(last.err.find("all 24 frames of " + out + " exist; nothing to submit"), std::string::npos) << last.err;
}

TEST_F(FarmOnSlurm, AFailingChunkRunsOnceMoreAndTheCheckJobNamesItsFrames) {
    makeFrames(in, 1, 12);
    std::ofstream(frameName(in, 9)) << "not a picture";
    const std::string job = submit();
    waitFor(job);
    EXPECT_EQ(count(readText(state + "/chunk-2.progress"), "state=failed\n"), 2u);
    EXPECT_EQ(count(readText(state + "/chunk-2.log"), "requeued to run once more"), 1u);
    EXPECT_EQ(count(readText(state + "/chunk-1.progress"), "state=end\n"), 1u);
    EXPECT_NE(readText(state + "/check.log").find("chunk 2 (frames 7-12): missing or unreadable 9-12"),
              std::string::npos)
        << readText(state + "/check.log");
    const CommandResult status = runFxhost("farm status " + job);
    EXPECT_TRUE(std::regex_search(status.out, std::regex("\n2 +7-12 +FAILED +1 +2/6\n"))) << status.out;
    EXPECT_NE(status.out.find(": FAILED\n"), std::string::npos) << status.out;  // the check job
}

// A movie INPUT: each chunk seeks to its own frames, and together they are the movie rendered at home.
TEST_F(FarmOnSlurm, ChunksOfAMovieMatchALocalRender) {
    const std::string movie = dir + "/clip.mp4";
    ASSERT_EQ(runCommand("ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=96x54:rate=25:duration=0.8 -c:v libx264 "
                         "-bf 3 -g 30 -pix_fmt yuv420p '" + movie + "'")
                  .status,
              0);
    waitFor(submit(movie));
    EXPECT_NE(last.err.find("renders chunks 1-4 of 4 (20 of 20 frames to render, 6 a chunk)"), std::string::npos)
        << last.err;
    expectLocalRender(movie, 20);
}
