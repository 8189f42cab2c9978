// fxhost preview over HTTP, as a browser or a script meets it: who is let in, what is refused and
// in which words, and that a frame served is the frame `fxhost render` writes.
#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <nlohmann/json.hpp>

#include "CommandRunner.h"
#include "MovieClips.h"
#include "PreviewProcess.h"
#include "SequenceFiles.h"

namespace fs = std::filesystem;

namespace {

const std::string kFxhost = OSTRIVANE_FXHOST_PATH;
const std::string kSample = std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png";

std::string escape(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        if (std::isalnum(c) || c == '-' || c == '_' || c == '.') {
            out += static_cast<char>(c);
        } else {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%%%02X", c);
            out += hex;
        }
    }
    return out;
}

class PreviewTest : public ::testing::Test {
protected:
    void SetUp() override {
        mDir = fs::temp_directory_path() / ("fxhost-preview-" + std::to_string(getpid()) + "-" +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(mDir);
        fs::create_directories(mDir);
    }
    void TearDown() override { fs::remove_all(mDir); }

    std::string path(const std::string& name) const { return (mDir / name).string(); }

    // GET with the token in the query; the Host header is the client's own unless given.
    static httplib::Result get(PreviewProcess& preview, const std::string& target,
                               httplib::Headers headers = {}) {
        httplib::Client client("127.0.0.1", preview.port());
        client.set_read_timeout(20, 0);
        const char joiner = target.find('?') == std::string::npos ? '?' : '&';
        return client.Get((target + joiner + "token=" + preview.token()).c_str(), headers);
    }

    // The body written to a file, for comparing pixels with ImageFile.
    std::string save(const std::string& name, const std::string& body) const {
        std::ofstream(path(name), std::ios::binary) << body;
        return path(name);
    }

    static std::string quote(const std::string& word) {
        std::string quoted = "'";
        for (char c : word) quoted += c == '\'' ? std::string("'\"'\"'") : std::string(1, c);
        return quoted + "'";
    }

    // `fxhost render` of the input with these settings into OUTPUT; its stderr on failure.
    static std::string render(const std::string& options, const std::string& input,
                              const std::string& output) {
        const CommandResult result =
            runCommand(kFxhost + " -q render " + options + " " + quote(input) + " " + quote(output));
        return result.status == 0 ? "" : result.err;
    }

    fs::path mDir;
};

// The chunk types of a PNG file, in order.
std::vector<std::string> pngChunks(const std::string& png) {
    std::vector<std::string> chunks;
    for (size_t at = 8; at + 8 <= png.size();) {
        const uint32_t length = (uint8_t(png[at]) << 24) | (uint8_t(png[at + 1]) << 16) |
                                (uint8_t(png[at + 2]) << 8) | uint8_t(png[at + 3]);
        chunks.push_back(png.substr(at + 4, 4));
        at += 12 + length;
    }
    return chunks;
}

TEST_F(PreviewTest, OnlyThisServersPagesWithTheTokenGetIn) {
    PreviewProcess preview({kSample});
    ASSERT_GT(preview.port(), 0) << preview.url();
    ASSERT_GE(preview.token().size(), 32u);  // 128 bits as hex, at least
    EXPECT_EQ(preview.url().rfind("http://127.0.0.1:" + std::to_string(preview.port()) + "/?token=", 0), 0u);

    httplib::Client client("127.0.0.1", preview.port());
    EXPECT_EQ(client.Get("/api/effect")->status, 401);
    EXPECT_EQ(client.Get("/api/effect?token=0123")->status, 403);
    // Every prefix of the token is wrong, and so is the token with a byte more.
    const std::string token = preview.token();
    EXPECT_EQ(client.Get(("/api/effect?token=" + token.substr(0, token.size() - 1)).c_str())->status, 403);
    EXPECT_EQ(client.Get(("/api/effect?token=" + token + "0").c_str())->status, 403);
    EXPECT_EQ(client.Get("/api/effect?token=")->status, 403);

    // DNS rebinding: the right token, but a page on another name.
    const std::string port = std::to_string(preview.port());
    EXPECT_EQ(get(preview, "/api/effect", {{"Host", "evil.test:" + port}})->status, 403);
    EXPECT_EQ(get(preview, "/api/effect", {{"Host", "127.0.0.1:1"}})->status, 403);
    EXPECT_EQ(get(preview, "/api/effect", {{"Host", "localhost:" + port}})->status, 200);
    EXPECT_EQ(get(preview, "/api/effect", {{"Origin", "http://evil.test"}})->status, 403);
    EXPECT_EQ(get(preview, "/api/effect", {{"Sec-Fetch-Site", "cross-site"}})->status, 403);
    EXPECT_EQ(get(preview, "/api/effect", {{"Origin", "http://127.0.0.1:" + port}})->status, 200);

    // The page trades the token for a cookie named after the port, which scripts cannot read.
    const httplib::Result page = get(preview, "/");
    ASSERT_EQ(page->status, 303);
    EXPECT_EQ(page->get_header_value("Location"), "/");
    const std::string cookie = page->get_header_value("Set-Cookie");
    EXPECT_EQ(cookie.rfind("fxhost-preview-" + port + "=" + token + ";", 0), 0u) << cookie;
    EXPECT_NE(cookie.find("HttpOnly"), std::string::npos);
    EXPECT_NE(cookie.find("SameSite=Strict"), std::string::npos);
    const httplib::Result withCookie =
        client.Get("/", {{"Cookie", "other=1; fxhost-preview-" + port + "=" + token}});
    ASSERT_EQ(withCookie->status, 200);
    EXPECT_NE(withCookie->body.find("<script src=\"/app.js\""), std::string::npos);
    EXPECT_EQ(client.Get("/", {{"Cookie", "fxhost-preview-1=" + token}})->status, 401);
    EXPECT_EQ(client.Get("/", {{"Cookie", "fxhost-preview-" + port + "=x"}})->status, 403);

    for (const char* target : {"/", "/api/effect", "/nowhere"}) {
        const httplib::Result answer =
            client.Get(target, {{"Cookie", "fxhost-preview-" + port + "=" + token}});
        EXPECT_NE(answer->get_header_value("Content-Security-Policy").find("frame-ancestors 'none'"),
                  std::string::npos)
            << target;
        EXPECT_EQ(answer->get_header_value("X-Content-Type-Options"), "nosniff") << target;
        EXPECT_EQ(answer->get_header_value("Cache-Control"), "no-store") << target;
    }
    EXPECT_EQ(preview.stop(), 0);
}

TEST_F(PreviewTest, BadRequestsAreRefusedInTheCommandLinesWords) {
    PreviewProcess preview({"--set", "Saturation=1.5", kSample});
    ASSERT_GT(preview.port(), 0);
    // What `fxhost render --set` says of the same value, without "fxhost: ".
    auto cliWords = [&](const std::string& set) {
        const std::string err = render("--set '" + set + "'", kSample, path("unused.png"));
        return err.substr(err.find(": ") + 2, err.find('\n') - err.find(": ") - 2);
    };
    for (const char* set :
         {"Hue Value=361", "Hue Value=-1", "Hue Value=nan", "Hue Value=ten", "Hue=10", "Hue Value"}) {
        const httplib::Result answer = get(preview, "/api/frame?set=" + escape(set));
        EXPECT_EQ(answer->status, 400) << set;
        EXPECT_EQ(answer->body, cliWords(set) + "\n") << set;
        EXPECT_EQ(get(preview, "/api/command?set=" + escape(set))->status, 400) << set;
    }
    const httplib::Result frame = get(preview, "/api/frame?frame=7");
    EXPECT_EQ(frame->status, 400);
    EXPECT_NE(frame->body.find("no input for frame 7"), std::string::npos) << frame->body;
    for (const char* query : {"frame=x", "scale=0", "scale=2", "scale=x", "format=gif", "view=side",
                              "sett=Hue%20Value%3D1", "scale=1&scale=0.5"}) {
        EXPECT_EQ(get(preview, std::string("/api/frame?") + query)->status, 400) << query;
    }
    for (const char* target : {"/api/frames", "/../../etc/passwd", "/app.js/", "/index.html", "/api"}) {
        EXPECT_EQ(get(preview, target)->status, 404) << target;
    }

    // Bodies are refused before they are read, however they are sent.
    const std::string head = "POST /api/frame?token=" + preview.token() +
                             " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(preview.port()) + "\r\n";
    EXPECT_EQ(
        rawStatusLine(preview.port(), head + "Transfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n"),
        "HTTP/1.1 411 Length Required");
    EXPECT_EQ(rawStatusLine(preview.port(), head + "Content-Length: 100000000\r\n\r\n"),
              "HTTP/1.1 413 Payload Too Large");
    EXPECT_EQ(rawStatusLine(preview.port(), head + "Content-Length: 0\r\nContent-Encoding: gzip\r\n\r\n"),
              "HTTP/1.1 415 Unsupported Media Type");
    EXPECT_EQ(rawStatusLine(preview.port(), head + "Content-Length: 0\r\n\r\n"),
              "HTTP/1.1 405 Method Not Allowed");
    // Every other method too, HEAD included, though httplib would answer it as a GET.
    for (const std::string method : {"HEAD", "PUT", "DELETE", "OPTIONS", "PATCH"}) {
        const std::string request = method + " /api/effect?token=" + preview.token() + " HTTP/1.1\r\nHost: 127.0.0.1:" +
                                    std::to_string(preview.port()) + "\r\n\r\n";
        EXPECT_EQ(rawStatusLine(preview.port(), request), "HTTP/1.1 405 Method Not Allowed") << method;
    }
    const std::string longTarget = "/api/frame?token=" + preview.token() + "&set=" + std::string(20000, 'x');
    EXPECT_EQ(rawStatusLine(preview.port(), "GET " + longTarget + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"),
              "HTTP/1.1 414 URI Too Long");

    // After all that, it still serves, with the value it was started with.
    const httplib::Result effect = get(preview, "/api/effect");
    ASSERT_EQ(effect->status, 200);
    const nlohmann::json json = nlohmann::json::parse(effect->body);
    EXPECT_EQ(json["width"], 192);
    EXPECT_EQ(json["height"], 128);
    EXPECT_TRUE(json["frames"].is_null());
    ASSERT_EQ(json["parameters"].size(), 2u);
    EXPECT_EQ(json["parameters"][1]["name"], "Saturation");
    EXPECT_EQ(json["parameters"][1]["value"], 1.5);
    EXPECT_EQ(json["parameters"][1]["default"], 1.0);
    EXPECT_EQ(json["parameters"][0]["max"], 360.0);
    EXPECT_EQ(preview.stop(), 0);
}

TEST_F(PreviewTest, AFrameIsWhatRenderWritesAndTheCommandWritesIt) {
    // A name a shell must be careful with.
    const std::string input = path("it's a frame.png");
    fs::copy_file(kSample, input);
    PreviewProcess preview({"--set", "Saturation=0.5", input});
    ASSERT_GT(preview.port(), 0);
    struct Case {
        std::string query, options;
    };
    for (const Case& c :
         {Case{"", "--set Saturation=0.5"},
          Case{"set=Hue%20Value%3D90&set=saturation%3D1.5", "--set 'Hue Value=90' --set Saturation=1.5"},
          Case{"set=1%3D359.9&set=2%3D2", "--set 1=359.9 --set Saturation=2"},
          Case{"set=Hue%20Value%3D360&set=Saturation%3D0", "--set 'Hue Value=360' --set Saturation=0"}}) {
        const httplib::Result frame = get(preview, "/api/frame?" + c.query);
        ASSERT_EQ(frame->status, 200) << c.query << ": " << frame->body;
        EXPECT_EQ(frame->get_header_value("Content-Type"), "image/png");
        for (const std::string& chunk : pngChunks(frame->body)) {
            EXPECT_TRUE(chunk != "gAMA" && chunk != "cHRM" && chunk != "iCCP" && chunk != "sRGB") << chunk;
        }
        ASSERT_EQ(render(c.options, input, path("rendered.png")), "");
        EXPECT_EQ(samePixels(save("served.png", frame->body), path("rendered.png")), "") << c.query;

        // The command line, run as printed, writes the same pixels.
        const httplib::Result command = get(preview, "/api/command?" + c.query);
        ASSERT_EQ(command->status, 200);
        fs::remove(path("it's a frame.preview.png"));
        const CommandResult run = runCommand(command->body);
        ASSERT_EQ(run.status, 0) << command->body << run.err;
        EXPECT_EQ(samePixels(path("it's a frame.preview.png"), path("rendered.png")), "") << command->body;
    }
    // The input side is the input's own pixels.
    const httplib::Result before = get(preview, "/api/frame?view=before&set=Hue%20Value%3D90");
    ASSERT_EQ(before->status, 200);
    EXPECT_EQ(samePixels(save("before.png", before->body), input), "");
    // A proxy is a JPEG of the scaled size.
    const httplib::Result proxy = get(preview, "/api/frame?scale=0.5&format=jpeg");
    ASSERT_EQ(proxy->status, 200);
    EXPECT_EQ(proxy->get_header_value("Content-Type"), "image/jpeg");
    const fxhost::ImageFile small = fxhost::ImageFile::read(save("proxy.jpg", proxy->body));
    EXPECT_EQ(small.width(), 96);
    EXPECT_EQ(small.height(), 64);
    EXPECT_EQ(preview.stop(), 0);
}

TEST_F(PreviewTest, ASequencesFrameIsWhatRenderWrites) {
    makeFrames(path("in_%04d.png"), 11, 13);
    PreviewProcess preview({path("in_%04d.png")});
    ASSERT_GT(preview.port(), 0);
    const nlohmann::json effect = nlohmann::json::parse(get(preview, "/api/effect")->body);
    EXPECT_EQ(effect["frames"], nlohmann::json::array({11, 13}));
    EXPECT_EQ(effect["width"], 64);

    const httplib::Result frame = get(preview, "/api/frame?frame=12&set=Hue%20Value%3D200");
    ASSERT_EQ(frame->status, 200) << frame->body;
    EXPECT_EQ(frame->get_header_value("X-Frame"), "12");
    ASSERT_EQ(render("--frames 12 --set 'Hue Value=200'", path("in_%04d.png"), path("out_%04d.png")), "");
    EXPECT_EQ(samePixels(save("served.png", frame->body), path("out_0012.png")), "");
    // Frames differ, so the frame asked for is the one served.
    EXPECT_NE(samePixels(save("first.png", get(preview, "/api/frame?set=Hue%20Value%3D200")->body),
                         path("out_0012.png")),
              "");

    const std::string command = get(preview, "/api/command?frame=12&set=Hue%20Value%3D200")->body;
    EXPECT_NE(command.find(" --frames 12 "), std::string::npos) << command;
    const CommandResult run = runCommand(command);
    ASSERT_EQ(run.status, 0) << command << run.err;
    EXPECT_EQ(samePixels(path("in_0012.preview.png"), path("out_0012.png")), "") << command;
    EXPECT_EQ(preview.stop(SIGTERM), 0);
}

// Started with keys, the preview serves each frame at its keyed value, and the look it offers
// renders with `render --look` what it showed; a `set` replaces one parameter's keys.
TEST_F(PreviewTest, KeysHoldAtEveryFrameAndTheLookRendersWhatWasShown) {
    makeFrames(path("in_%04d.png"), 1, 5);
    PreviewProcess preview({"--set", "Hue Value=0@1,200@5", path("in_%04d.png")});
    ASSERT_GT(preview.port(), 0);
    const nlohmann::json effect = nlohmann::json::parse(get(preview, "/api/effect")->body);
    EXPECT_EQ(effect["parameters"][0]["keys"], "0@1,200@5");
    EXPECT_EQ(effect["parameters"][0]["value"], 0);

    const httplib::Result third = get(preview, "/api/frame?frame=3&set=Saturation%3D1.5");
    ASSERT_EQ(third->status, 200) << third->body;
    // Frame 3 lies halfway between the keys.
    ASSERT_EQ(render("--frames 3 --set 'Hue Value=100' --set Saturation=1.5", path("in_%04d.png"),
                     path("const_%04d.png")),
              "");
    EXPECT_EQ(samePixels(save("third.png", third->body), path("const_0003.png")), "");

    const httplib::Result look = get(preview, "/api/look?set=Saturation%3D1.5");
    ASSERT_EQ(look->status, 200) << look->body;
    EXPECT_NE(look->get_header_value("Content-Disposition").find("attachment"), std::string::npos);
    const nlohmann::json json = nlohmann::json::parse(look->body);
    EXPECT_EQ(json["parameters"]["Saturation"], 1.5);
    save("look.json", look->body);
    ASSERT_EQ(render("--frames 3 --look " + quote(path("look.json")), path("in_%04d.png"), path("look_%04d.png")),
              "");
    EXPECT_EQ(samePixels(path("look_0003.png"), path("third.png")), "");

    const std::string command = get(preview, "/api/command?frame=3")->body;
    EXPECT_NE(command.find("--set 'Hue Value=0@1,200@5'"), std::string::npos) << command;
    EXPECT_EQ(get(preview, "/api/look?set=Hue%20Value%3D1%401%2C2%401")->status, 400);
    EXPECT_EQ(preview.stop(SIGTERM), 0);
}

TEST_F(PreviewTest, AMoviesFrameIsWhatRenderWrites) {
    // Lossless, so that the frames differ only as the effect makes them.
    ASSERT_EQ(makeClip(path("clip.mkv"), "-f lavfi -i testsrc2=size=96x54:rate=25 -frames:v 6 -c:v ffv1"),
              "");
    PreviewProcess preview({path("clip.mkv")});
    ASSERT_GT(preview.port(), 0);
    const nlohmann::json effect = nlohmann::json::parse(get(preview, "/api/effect")->body);
    EXPECT_EQ(effect["frames"], nlohmann::json::array({1, 6}));
    EXPECT_EQ(effect["width"], 96);

    const httplib::Result frame = get(preview, "/api/frame?frame=4&set=Hue%20Value%3D120");
    ASSERT_EQ(frame->status, 200) << frame->body;
    ASSERT_EQ(render("--frames 4 --set 'Hue Value=120'", path("clip.mkv"), path("out_%04d.png")), "");
    EXPECT_EQ(samePixels(save("served.png", frame->body), path("out_0004.png")), "");
    EXPECT_NE(samePixels(save("third.png", get(preview, "/api/frame?frame=3&set=Hue%20Value%3D120")->body),
                         path("out_0004.png")),
              "");
    EXPECT_EQ(get(preview, "/api/frame?frame=7")->status, 400);

    const std::string command = get(preview, "/api/command?frame=4&set=Hue%20Value%3D120")->body;
    const CommandResult run = runCommand(command);
    ASSERT_EQ(run.status, 0) << command << run.err;
    EXPECT_EQ(samePixels(path("clip.preview.0004.png"), path("out_0004.png")), "") << command;
    EXPECT_EQ(preview.stop(), 0);
}

TEST_F(PreviewTest, ABurstRendersTheFirstAndTheNewestOnly) {
    // Each render takes a second more: the burst arrives while the first request is in flight,
    // with room to spare on a busy machine.
    PreviewProcess preview({kSample}, {"FXHOST_PREVIEW_TEST_DELAY_MS=1000"});
    ASSERT_GT(preview.port(), 0);
    std::vector<std::future<httplib::Result>> answers;
    for (int hue = 10; hue <= 60; hue += 10) {
        answers.push_back(std::async(std::launch::async, [&, hue] {
            return get(preview, "/api/frame?client=tab&set=Hue%20Value%3D" + std::to_string(hue));
        }));
        std::this_thread::sleep_for(std::chrono::milliseconds(hue == 10 ? 300 : 20));
    }
    // Another view is not replaced by this one's newer requests.
    const httplib::Result other = get(preview, "/api/frame?client=other&set=Hue%20Value%3D5");
    std::vector<httplib::Result> results;
    std::vector<int> statuses;
    for (auto& answer : answers) {
        results.push_back(answer.get());
        statuses.push_back(results.back() ? results.back()->status : -1);
    }
    EXPECT_EQ(statuses, (std::vector<int>{200, 204, 204, 204, 204, 200}));
    EXPECT_EQ(other->status, 200);
    ASSERT_EQ(render("--set 'Hue Value=60'", kSample, path("rendered.png")), "");
    EXPECT_EQ(samePixels(save("newest.png", results.back()->body), path("rendered.png")), "");
    EXPECT_EQ(preview.stop(), 0);
}

TEST_F(PreviewTest, SigintWithARenderInFlightEndsCleanlyAndFreesThePort) {
    PreviewProcess preview({kSample}, {"FXHOST_PREVIEW_TEST_DELAY_MS=2000"});
    ASSERT_GT(preview.port(), 0);
    // The port is this server's alone while it runs.
    const CommandResult second =
        runCommand(kFxhost + " preview --port " + std::to_string(preview.port()) + " " + kSample);
    EXPECT_EQ(second.status, 2);
    EXPECT_NE(second.err.find("cannot listen on 127.0.0.1:" + std::to_string(preview.port())),
              std::string::npos)
        << second.err;
    auto inFlight = std::async(std::launch::async, [&] { return get(preview, "/api/frame?client=a"); });
    auto waiting = std::async(std::launch::async, [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        return get(preview, "/api/frame?client=b");
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(preview.stop(SIGINT), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    EXPECT_EQ(preview.restOfOutput(), "");  // one line on standard output, and nothing after it
    const httplib::Result rendering = inFlight.get(), queued = waiting.get();
    ASSERT_TRUE(rendering);
    EXPECT_EQ(rendering->status, 200);  // the frame being rendered is finished
    ASSERT_TRUE(queued);
    EXPECT_EQ(queued->status, 503);  // the one waiting is told the preview stops
    EXPECT_TRUE(portIsFree(preview.port()))
        << runCommand("ss -tanp | grep :" + std::to_string(preview.port())).out;
}

TEST_F(PreviewTest, ABadStartIsTheCommandLinesError) {
    const CommandResult set = runCommand(kFxhost + " preview --set 'Hue Value=400' '" + kSample + "'");
    EXPECT_EQ(set.status, 2);
    EXPECT_EQ(set.out, "");
    EXPECT_NE(set.err.find("400 is out of range for parameter \"Hue Value\" (0 to 360)"), std::string::npos)
        << set.err;
    const CommandResult missing = runCommand(kFxhost + " preview '" + path("none.png") + "'");
    EXPECT_EQ(missing.status, 3) << missing.err;
    EXPECT_EQ(missing.out, "");
}

}  // namespace
