// fxhost render with movies, end to end: a movie's frames numbered from 1 into images, ranges
// checked against its length, images into a movie and back bit-exact, alpha kept in mov and webm,
// damaged inputs, an interruption part-way, and the farm's refusal of a movie OUTPUT.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "CommandRunner.h"
#include "MovieClips.h"
#include "SequenceFiles.h"

namespace {

const std::string kFxhost = OSTRIVANE_FXHOST_PATH;

class FxhostMovie : public ::testing::Test {
protected:
    void SetUp() override {
        dir = "/tmp/fxhost-movie-" + std::to_string(getpid()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_EQ(std::system(("rm -rf " + dir + " && mkdir -p " + dir + "/out").c_str()), 0);
        // 25 frames, BT.709, with sound and a timecode, as a camera's clip comes.
        clip = make("clip.mp4",
                    "-f lavfi -i testsrc2=size=160x90:rate=25:duration=1 -f lavfi -i sine=duration=1 "
                    "-c:v libx264 -pix_fmt yuv420p -bf 3 -g 10 -colorspace bt709 -color_primaries "
                    "bt709 -color_trc bt709 -c:a aac -timecode 01:00:00:00");
    }
    void TearDown() override { std::system(("rm -rf " + dir).c_str()); }

    // DIR/NAME, made by ffmpeg from ARGS.
    std::string make(const std::string& name, const std::string& args) {
        EXPECT_EQ(makeClip(dir + "/" + name, args), "");
        return dir + "/" + name;
    }
    CommandResult render(const std::string& args) {
        return runCommand(kFxhost + " render --set \"Hue Value=0\" " + args);
    }

    std::string dir, clip;
};

}  // namespace

// Frames of a movie are written under their numbers from 1, as RGB images (their colours are the
// reader's, pinned by the Movie suite); a range takes those frames, whichever the first is, and a
// range past the end is refused before anything is written.
TEST_F(FxhostMovie, WritesAMoviesFramesUnderTheirNumbers) {
    const CommandResult all = render(clip + " " + dir + "/out/all_%04d.png");
    ASSERT_EQ(all.status, 0) << all.err;
    EXPECT_EQ(filesIn(dir + "/out").size(), 25u);
    EXPECT_EQ(probe(dir + "/out/all_0025.png", "-show_entries stream=pix_fmt -of csv=p=0"), "rgb24\n");

    const CommandResult part = render("--frames 11-13 " + clip + " " + dir + "/out/part_%04d.png");
    ASSERT_EQ(part.status, 0) << part.err;
    EXPECT_EQ(filesIn(dir + "/out").size(), 28u);
    for (int frame = 11; frame <= 13; ++frame) {
        EXPECT_EQ(samePixels(frameName(dir + "/out/part_%04d.png", frame),
                             frameName(dir + "/out/all_%04d.png", frame)),
                  "");
    }
    const CommandResult past = render("--frames 20-30 " + clip + " " + dir + "/out/f_%04d.png");
    EXPECT_EQ(past.status, 2);
    EXPECT_NE(past.err.find("has 25 frames"), std::string::npos) << past.err;
    EXPECT_NE(past.err.find("26-30"), std::string::npos) << past.err;
    EXPECT_EQ(filesIn(dir + "/out").size(), 28u);
}

// Images into a lossless movie and back: every pixel as it was; --fps sets the rate.
TEST_F(FxhostMovie, ImagesIntoAMovieAndBackBitExact) {
    makeFrames(dir + "/in_%04d.png", 1, 12);
    const CommandResult in = render("--fps 30 " + dir + "/in_%04d.png " + dir + "/movie.mkv");
    ASSERT_EQ(in.status, 0) << in.err;
    EXPECT_EQ(probe(dir + "/movie.mkv",
                    "-count_frames -show_entries stream=nb_read_frames,r_frame_rate -of csv=p=0"),
              "30/1,12\n");
    const CommandResult out = render(dir + "/movie.mkv " + dir + "/out/back_%04d.png");
    ASSERT_EQ(out.status, 0) << out.err;
    for (int frame = 1; frame <= 12; ++frame)
        EXPECT_EQ(
            samePixels(frameName(dir + "/out/back_%04d.png", frame), frameName(dir + "/in_%04d.png", frame)),
            "");
}

// RGBA images into the containers that hold alpha and back out of them into images: the alpha
// comes back as it went in (ProRes keeps it within a step; VP9 codes it lossily, about one step on
// average here, kept beside the picture and read by the libvpx decoder alone).
TEST_F(FxhostMovie, RgbaImagesKeepTheirAlphaInAMovie) {
    const std::string frames =
        make("rgba_%04d.png",
             "-f lavfi -i \"testsrc2=size=64x36:rate=25:duration=0.12,format=rgba,"
             "geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='mod(X*7+Y*3+N*50,256)'\" -start_number 1");
    const std::string alphaIn = decode(frames, "-pix_fmt rgba");
    for (const std::string name : {"alpha.mov", "alpha.webm"}) {
        const std::string movie = dir + "/" + name, back = dir + "/out/" + name + "_%04d.png";
        const CommandResult in = render(frames + " " + movie), out = render(movie + " " + back);
        ASSERT_EQ(in.status + out.status, 0) << name << ": " << in.err << out.err;
        const std::string alphaOut = decode(back, "-pix_fmt rgba");
        ASSERT_EQ(alphaOut.size(), alphaIn.size()) << name;
        double difference = 0;
        for (size_t i = 3; i < alphaIn.size(); i += 4)
            difference += std::abs(uint8_t(alphaIn[i]) - uint8_t(alphaOut[i]));
        EXPECT_LT(difference / (alphaIn.size() / 4), 3.0) << name;
    }
}

// A movie into a movie: every frame, at its time (a variable rate kept), the sound kept.
TEST_F(FxhostMovie, MovieIntoAMovie) {
    const CommandResult r = render(clip + " " + dir + "/out/graded.mp4");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(probe(dir + "/out/graded.mp4",
                    "-count_frames -show_entries stream=codec_name,nb_read_frames -of csv=p=0"),
              "h264,25\naac,44\nunknown,N/A\n");  // the timecode track too
    EXPECT_EQ(filesIn(dir + "/out").size(), 1u);

    const std::string times = "-show_entries frame=best_effort_timestamp_time -of csv=p=0";
    const std::string vfr = make("vfr.mkv",
                                 "-f lavfi -i testsrc2=size=64x36:rate=25:duration=1 -vf "
                                 "\"select='not(eq(mod(n,4),1))'\" -fps_mode vfr -c:v ffv1");
    const CommandResult v = render(vfr + " " + dir + "/out/vfr.mkv");
    ASSERT_EQ(v.status, 0) << v.err;
    EXPECT_EQ(probe(dir + "/out/vfr.mkv", times), probe(vfr, times));
}

// -q leaves standard error empty, the codecs' own logging included (x265 prints its banner itself,
// not through libav's log), and an error still reaches it.
TEST_F(FxhostMovie, QuietSilencesTheCodecsButNotErrors) {
    for (const std::string out : {"--codec libx265 x265.mp4", "--codec libx264 x264.mkv", "vp9.webm"}) {
        const size_t name = out.rfind(' ') + 1;
        const CommandResult r = runCommand(kFxhost + " -q render --frames 1-3 " + out.substr(0, name) + clip +
                                           " " + dir + "/out/" + out.substr(name));
        EXPECT_EQ(r.status, 0) << out;
        EXPECT_EQ(r.err, "") << out;
    }
    const CommandResult bad = runCommand(kFxhost + " -q render --codec libx265 --pix-fmt rgb24 " + clip +
                                         " " + dir + "/out/bad.mp4");
    EXPECT_EQ(bad.status, 2);
    EXPECT_NE(bad.err.find("rgb24"), std::string::npos) << bad.err;
}

// A movie cut short stops with exit 3 naming the file and the frame, before anything is written,
// whether the range asked for starts before the cut or not (its 50 frames' packets end near frame
// 25); a 10-bit movie is named as deeper than the effect renders: a warning, or under
// --strict-depth a refusal.
TEST_F(FxhostMovie, CutAndTenBitInputs) {
    const std::string cut = dir + "/cut.mkv";
    const std::string whole = make(
        "whole.mkv", "-f lavfi -i testsrc2=size=160x90:rate=25:duration=2,noise=alls=30:allf=t -c:v libx264");
    ASSERT_TRUE(halve(whole, cut));
    for (const std::string args :
         {cut + " " + dir + "/out/cut.mp4", "--frames 1-40 " + cut + " " + dir + "/out/c_%04d.png"}) {
        const CommandResult r = render(args);
        EXPECT_EQ(r.status, 3) << args;
        EXPECT_NE(r.err.find("'" + cut + "' cannot be decoded at frame "), std::string::npos) << r.err;
        EXPECT_TRUE(filesIn(dir + "/out").empty()) << args;
    }

    const std::string deep = make(
        "deep.mkv", "-f lavfi -i testsrc2=size=64x36:rate=25:duration=0.2 -c:v ffv1 -pix_fmt yuv420p10le");
    const CommandResult warned = render(deep + " " + dir + "/out/w_%04d.png");
    EXPECT_EQ(warned.status, 0) << warned.err;
    EXPECT_NE(warned.err.find("10-bit"), std::string::npos) << warned.err;
    const CommandResult refused = render("--strict-depth " + deep + " " + dir + "/out/r_%04d.png");
    EXPECT_EQ(refused.status, 3);
    EXPECT_NE(refused.err.find("'" + deep + "' is 10-bit"), std::string::npos) << refused.err;
    EXPECT_EQ(filesIn(dir + "/out").size(), 5u);
}

// SIGINT while a movie is being written leaves neither the movie nor its temporary file.
TEST_F(FxhostMovie, InterruptedMovieLeavesNothing) {
    const std::string progress = dir + "/progress", err = dir + "/err";
    const std::string longClip = make(
        "long.mp4", "-f lavfi -i testsrc2=size=320x180:rate=25:duration=20 -c:v libx264 -preset ultrafast");
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
        execl(kFxhost.c_str(), kFxhost.c_str(), "render", "--progress", progress.c_str(), longClip.c_str(),
              (dir + "/out/long.mkv").c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (readText(progress).find("done=5\n") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(filesIn(dir + "/out").size(), 1u) << "the temporary movie, while it is written";
    kill(pid, SIGINT);
    int raw = 0;
    ASSERT_EQ(waitpid(pid, &raw, 0), pid);
    ASSERT_TRUE(WIFEXITED(raw));
    EXPECT_EQ(WEXITSTATUS(raw), 130) << readText(err);
    EXPECT_NE(readText(err).find("long.mkv' was not written"), std::string::npos) << readText(err);
    EXPECT_TRUE(filesIn(dir + "/out").empty()) << filesIn(dir + "/out").front();
}

TEST_F(FxhostMovie, FarmRefusesAMovieOutputSayingWhatToDo) {
    const CommandResult r =
        runCommand(kFxhost + " farm submit --dry-run --chunk 10 " + clip + " " + dir + "/out/farm.mp4");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("render to images on the farm"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("fxhost render"), std::string::npos) << r.err;
}
