#include <gtest/gtest.h>

#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "CommandRunner.h"
#include "SequenceFiles.h"

extern char** environ;

namespace {

using std::filesystem::exists;

class FxhostSequence : public WithFolder<> {
protected:
    void SetUp() override {
        WithFolder::SetUp();
        std::filesystem::create_directory(dir + "/clean");
        in = dir + "/in_%04d.png";
        out = dir + "/out_%04d.png";
    }

    CommandResult render(const std::string& args) { return runFxhost("render --set \"Hue Value=120\" " + args); }

    // The reference: the same frames rendered in one plain run into dir/clean.
    void renderClean(int first, int last) {
        const CommandResult r = render("--frames " + std::to_string(first) + "-" + std::to_string(last) +
                                       " " + in + " " + dir + "/clean/c_%04d.png");
        ASSERT_EQ(r.status, 0) << r.err;
    }
    void expectMatchesClean(const std::string& pattern, int first, int last) {
        for (int frame = first; frame <= last; ++frame)
            EXPECT_EQ(samePixels(frameName(pattern, frame), frameName(dir + "/clean/c_%04d.png", frame)), "");
    }

    std::string in, out;
};

}  // namespace

TEST_F(FxhostSequence, BadFrameListsExitTwoAndWriteNothing) {
    makeFrames(in, 1, 6);
    const struct {
        std::string frames;
        std::string message;
    } cases[] = {
        {"1-", "--frames: \"1-\" is not FRAME, FIRST-LAST or FIRST-LASTxSTEP"},
        {"1-3,2", "--frames: frame 2 is listed twice in \"1-3,2\""},
        {"5-9", "--frames 5-9: no input for frames 7-9 (no '" + dir + "/in_0007.png')"},
        {"''", "--frames: the list is empty"},  // given and empty is not the same as not given
    };
    for (const auto& c : cases) {
        for (const std::string& command : {"render --progress " + dir + "/p", std::string("farm submit --dry-run --chunk 2")}) {
            SCOPED_TRACE(command + " --frames " + c.frames);
            const CommandResult r = runFxhost(command + " --frames " + c.frames + " " + in + " " + out);
            EXPECT_EQ(r.status, 2);
            EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
            EXPECT_EQ(filesIn(dir).size(), 7u);  // the inputs and clean/
        }
    }
}

// Without --frames the range on disk is rendered, a gap in it refused. Frames of two sizes in one
// sequence, through several encoder threads and PNG level 0, give the pixels of a plain run; the
// level is the one asked for (0 stores the pixels).
TEST_F(FxhostSequence, WithoutFramesTheRangeOnDiskIsRenderedAndAGapIsRefused) {
    makeFrames(in, 3, 7);
    std::filesystem::copy_file(OSTRIVANE_SOURCE_DIR "/samples/colours.png", frameName(in, 4),
                               std::filesystem::copy_options::overwrite_existing);
    renderClean(3, 7);
    CommandResult r = render("--threads 3 --png-compression 0 " + in + " " + out);
    ASSERT_EQ(r.status, 0) << r.err;
    expectMatchesClean(out, 3, 7);
    EXPECT_GT(std::filesystem::file_size(frameName(out, 4)), 192u * 128 * 4);
    EXPECT_LT(std::filesystem::file_size(frameName(dir + "/clean/c_%04d.png", 4)), 192u * 128 * 4);
    EXPECT_EQ(filesIn(dir).size(), 11u);  // 5 in, 5 out, clean/

    ASSERT_EQ(std::remove(frameName(in, 5).c_str()), 0);
    r = render(in + " " + dir + "/gap_%04d.png");
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("'" + in + "' has frames 3 to 7 but not 5"), std::string::npos) << r.err;
    EXPECT_FALSE(exists(dir + "/gap_0003.png"));

    r = render(dir + "/none_%04d.png " + dir + "/gap_%04d.png");
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("no frames of '" + dir + "/none_%04d.png' found"), std::string::npos) << r.err;
}

TEST_F(FxhostSequence, SkipExistingRendersOnlyMissingFramesAndNoClobberRefuses) {
    makeFrames(in, 1, 6);
    renderClean(1, 6);
    ASSERT_EQ(render(in + " " + out).status, 0);
    // Frame 2's output is replaced by a stand-in that must survive; frame 4's goes.
    std::filesystem::copy_file(frameName(in, 1), frameName(out, 2), std::filesystem::copy_options::overwrite_existing);
    ASSERT_EQ(std::remove(frameName(out, 4).c_str()), 0);

    CommandResult r = render("--skip-existing --progress " + dir + "/p " + in + " " + out);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("skipping 5 of 6 frames whose output exists (1-3,5,6)"), std::string::npos) << r.err;
    expectMatchesClean(out, 4, 4);
    EXPECT_EQ(samePixels(frameName(out, 2), frameName(in, 1)), "");
    const std::string progress = readText(dir + "/p");
    EXPECT_NE(progress.find("frame=4\ndone=1\ntotal=1\n"), std::string::npos) << progress;
    EXPECT_NE(progress.find("state=end\n"), std::string::npos) << progress;

    r = render("--no-clobber --frames 3-8x2 " + in + " " + dir + "/out_%04d.png");
    EXPECT_EQ(r.status, 2);  // frame 7 has no input: the list is checked first
    r = render("--no-clobber --frames 1-5x2 " + in + " " + out);
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("--no-clobber: the outputs of frames 1-5x2 exist"), std::string::npos) << r.err;
    EXPECT_EQ(samePixels(frameName(out, 2), frameName(in, 1)), "");
}

// A render stopped part-way leaves only complete frames; SIGINT and SIGTERM end it with 130 and
// 143, naming the frames done, and leave no temporary file; after SIGKILL, at most the stable
// temporary names are left, and the next run removes them. --skip-existing then completes it.
TEST_F(FxhostSequence, InterruptedRenderLeavesCompleteFramesAndResumes) {
    makeFrames(in, 1, 40);
    renderClean(1, 40);
    const auto hidden = [](const std::string& folder) {
        std::vector<std::string> names;
        for (const std::string& name : filesIn(folder))
            if (name[0] == '.' && name != ".progress") names.push_back(name);
        return names;
    };
    for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
        SCOPED_TRACE(strsignal(signal));
        const std::string outDir = dir + "/" + std::to_string(signal), pattern = outDir + "/out_%04d.png";
        const std::string progress = outDir + "/.progress", err = dir + "/err";
        ASSERT_TRUE(std::filesystem::create_directory(outDir));
        // Frame 30's input is a pipe nobody writes while the run is stopped, so the run is still
        // going whenever the signal comes, however fast the frames before it render.
        const std::string blocking = frameName(in, 30), kept = blocking + ".kept";
        ASSERT_EQ(rename(blocking.c_str(), kept.c_str()), 0);
        ASSERT_EQ(mkfifo(blocking.c_str(), 0644), 0);
        const std::string command = "exec " OSTRIVANE_FXHOST_PATH " render --set 'Hue Value=120' --progress " +
                                    progress + " " + in + " " + pattern + " >/dev/null 2>" + err;
        const char* argv[] = {"/bin/sh", "-c", command.c_str(), nullptr};
        pid_t pid;
        ASSERT_EQ(posix_spawn(&pid, argv[0], nullptr, nullptr, const_cast<char**>(argv), environ), 0);
        // Stopped once two frames are written, well before the end.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        while (readText(progress).find("done=2\n") == std::string::npos && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        kill(pid, signal);
        int raw = 0;
        ASSERT_EQ(waitpid(pid, &raw, 0), pid);
        ASSERT_EQ(rename(kept.c_str(), blocking.c_str()), 0);
        if (signal == SIGKILL) {
            EXPECT_TRUE(WIFSIGNALED(raw));
            for (const std::string& name : hidden(outDir))
                EXPECT_TRUE(std::regex_match(name, std::regex("\\.out_00[0-9][0-9]\\.png\\.fxhost-partial"))) << name;
            // Whether or not the kill met a write, a leftover of the stable name is what the next run
            // meets: beside a frame still to render, and beside a complete one it skips (a re-render
            // killed part-way), which it must remove all the same.
            std::ofstream(outDir + "/.out_0040.png.fxhost-partial") << "half a frame";
            std::ofstream(outDir + "/.out_0001.png.fxhost-partial") << "half a frame";
        } else {
            ASSERT_TRUE(WIFEXITED(raw));
            EXPECT_EQ(WEXITSTATUS(raw), 128 + signal);
            EXPECT_EQ(hidden(outDir), std::vector<std::string>());
            const std::string message = readText(err);
            std::smatch done;
            ASSERT_TRUE(std::regex_search(message, done, std::regex("; ([0-9]+) of 40 frames done \\((.*)\\)\n")))
                << message;
            const int last = std::stoi(done[1].str());
            EXPECT_EQ(done[2].str(), last == 1 ? "1" : last == 2 ? "1,2" : "1-" + std::to_string(last));
            EXPECT_LT(last, 40);
            for (int frame = 1; frame <= last; ++frame) EXPECT_TRUE(exists(frameName(pattern, frame))) << frame;
            EXPECT_FALSE(exists(frameName(pattern, last + 2)));
            EXPECT_NE(readText(progress).find("state=interrupted\n"), std::string::npos);
        }

        // The resumed run appends to the progress file: the stopped run's blocks (of all 40 frames)
        // stay before its own (of those left).
        const CommandResult r = render("--skip-existing --progress " + progress + " " + in + " " + pattern);
        ASSERT_EQ(r.status, 0) << r.err;
        const std::string blocks = readText(progress);
        EXPECT_LT(blocks.find("total=40\n"), blocks.rfind("state=end\n")) << blocks;
        EXPECT_EQ(hidden(outDir), std::vector<std::string>());
        expectMatchesClean(pattern, 1, 40);
    }
}
