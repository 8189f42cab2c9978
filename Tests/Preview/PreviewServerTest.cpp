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

namespace {

const std::string kFxhost = OSTRIVANE_FXHOST_PATH;
const std::string kSample = std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png";

// "set=" and the value, encoded for a query.
std::string set(const std::string& value) { return "set=" + httplib::detail::encode_query_param(value); }

class PreviewTest : public WithFolder<> {
protected:
    std::string path(const std::string& name) const { return dir + "/" + name; }

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
};

TEST_F(PreviewTest, OnlyThisServersPagesWithTheTokenGetIn) {
    PreviewProcess preview({kSample});
    ASSERT_GT(preview.port(), 0) << preview.url();
    const std::string token = preview.token(), port = std::to_string(preview.port());
    ASSERT_GE(token.size(), 32u);  // 128 bits as hex, at least
    EXPECT_EQ(preview.url().rfind("http://127.0.0.1:" + port + "/?token=", 0), 0u);

    // Every prefix of the token is wrong, and so is the token with a byte more; a page on another
    // name (DNS rebinding) or another site is refused even with the right one. The page's cookie is
    // named after the port, and is found wherever it stands in the header.
    const std::string effect = "/api/effect?token=" + token, cookie = "fxhost-preview-" + port + "=";
    struct Ask {
        std::string target;
        httplib::Headers headers;
        int status;
    };
    httplib::Client client("127.0.0.1", preview.port());
    for (const Ask& ask : std::vector<Ask>{{"/api/effect", {}, 401},
                                           {"/api/effect?token=0123", {}, 403},
                                           {effect.substr(0, effect.size() - 1), {}, 403},
                                           {effect + "0", {}, 403},
                                           {"/api/effect?token=", {}, 403},
                                           {effect, {{"Host", "evil.test:" + port}}, 403},
                                           {effect, {{"Host", "127.0.0.1:1"}}, 403},
                                           {effect, {{"Host", "localhost:" + port}}, 200},
                                           {effect, {{"Origin", "http://evil.test"}}, 403},
                                           {effect, {{"Sec-Fetch-Site", "cross-site"}}, 403},
                                           {effect, {{"Origin", "http://127.0.0.1:" + port}}, 200},
                                           {"/", {{"Cookie", "other=1; " + cookie + token}}, 200},
                                           {"/", {{"Cookie", "fxhost-preview-1=" + token}}, 401},
                                           {"/", {{"Cookie", cookie + "x"}}, 403}}) {
        EXPECT_EQ(client.Get(ask.target.c_str(), ask.headers)->status, ask.status) << ask.target;
    }

    // The page trades the token for that cookie, which scripts cannot read.
    const httplib::Result page = get(preview, "/");
    ASSERT_EQ(page->status, 303);
    EXPECT_EQ(page->get_header_value("Location"), "/");
    const std::string setCookie = page->get_header_value("Set-Cookie");
    EXPECT_EQ(setCookie.rfind(cookie + token + ";", 0), 0u) << setCookie;
    EXPECT_NE(setCookie.find("HttpOnly"), std::string::npos);
    EXPECT_NE(setCookie.find("SameSite=Strict"), std::string::npos);
    for (const char* target : {"/", "/api/effect", "/nowhere"}) {
        const httplib::Result answer = client.Get(target, {{"Cookie", cookie + token}});
        EXPECT_EQ(answer->body.find("<script src=\"/app.js\"") != std::string::npos, std::string(target) == "/");
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
    for (const char* value :
         {"Hue Value=361", "Hue Value=-1", "Hue Value=nan", "Hue Value=ten", "Hue=10", "Hue Value"}) {
        // What `fxhost render --set` says of the same value, without "fxhost: ".
        const std::string err = render("--set '" + std::string(value) + "'", kSample, path("unused.png"));
        const httplib::Result answer = get(preview, "/api/frame?" + set(value));
        EXPECT_EQ(answer->status, 400) << value;
        EXPECT_EQ(answer->body, err.substr(err.find(": ") + 2, err.find('\n') - err.find(": ") - 1)) << value;
        EXPECT_EQ(get(preview, "/api/command?" + set(value))->status, 400) << value;
    }
    for (const char* query : {"frame=7", "frame=x", "scale=0", "scale=2", "scale=x", "format=gif", "view=side",
                              "sett=Hue%20Value%3D1", "scale=1&scale=0.5"}) {
        EXPECT_EQ(get(preview, std::string("/api/frame?") + query)->status, 400) << query;
    }
    for (const char* target : {"/api/frames", "/../../etc/passwd", "/app.js/", "/index.html", "/api"}) {
        EXPECT_EQ(get(preview, target)->status, 404) << target;
    }

    // Bodies are refused before they are read, however they are sent; every method but GET is
    // refused, HEAD included, though httplib would answer it as a GET.
    struct Raw {
        std::string method, query, rest, status;
    };
    const std::string port = std::to_string(preview.port());
    for (const Raw& raw : std::vector<Raw>{
             {"POST", "", "Transfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n", "411 Length Required"},
             {"POST", "", "Content-Length: 100000000\r\n\r\n", "413 Payload Too Large"},
             {"POST", "", "Content-Length: 0\r\nContent-Encoding: gzip\r\n\r\n", "415 Unsupported Media Type"},
             {"POST", "", "Content-Length: 0\r\n\r\n", "405 Method Not Allowed"},
             {"HEAD", "", "\r\n", "405 Method Not Allowed"},
             {"PUT", "", "\r\n", "405 Method Not Allowed"},
             {"DELETE", "", "\r\n", "405 Method Not Allowed"},
             {"OPTIONS", "", "\r\n", "405 Method Not Allowed"},
             {"PATCH", "", "\r\n", "405 Method Not Allowed"},
             {"GET", "&set=" + std::string(20000, 'x'), "\r\n", "414 URI Too Long"}}) {
        const std::string request = raw.method + " /api/frame?token=" + preview.token() + raw.query +
                                    " HTTP/1.1\r\nHost: 127.0.0.1:" + port + "\r\n" + raw.rest;
        EXPECT_EQ(rawStatusLine(preview.port(), request), "HTTP/1.1 " + raw.status) << raw.method;
    }

    // After all that, it still serves, with the value it was started with.
    const httplib::Result effect = get(preview, "/api/effect");
    ASSERT_EQ(effect->status, 200);
    const nlohmann::json json = nlohmann::json::parse(effect->body);
    EXPECT_TRUE(json["frames"].is_null());
    ASSERT_EQ(json["parameters"].size(), 2u);
    EXPECT_EQ(json["parameters"][1]["value"], 1.5);
    EXPECT_EQ(json["parameters"][1]["default"], 1.0);
    EXPECT_EQ(json["parameters"][0]["max"], 360.0);
    EXPECT_EQ(preview.stop(), 0);
}

TEST_F(PreviewTest, AFrameIsWhatRenderWritesAndTheCommandWritesIt) {
    // A name a shell must be careful with.
    const std::string input = path("it's a frame.png");
    std::filesystem::copy_file(kSample, input);
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
        // No colour chunk (they stand before the pixels) for a browser to manage the colours by.
        const std::string head = frame->body.substr(0, frame->body.find("IDAT"));
        for (const char* chunk : {"gAMA", "cHRM", "iCCP", "sRGB"}) EXPECT_EQ(head.find(chunk), std::string::npos);
        ASSERT_EQ(render(c.options, input, path("rendered.png")), "");
        EXPECT_EQ(samePixels(save("served.png", frame->body), path("rendered.png")), "") << c.query;

        // The command line, run as printed, writes the same pixels.
        const httplib::Result command = get(preview, "/api/command?" + c.query);
        ASSERT_EQ(command->status, 200);
        std::filesystem::remove(path("it's a frame.preview.png"));
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

// Of a sequence or a movie started with keys, the preview serves the frame asked for at its keyed
// value (each frame asked for lies halfway between the keys: Hue Value 100), the command renders
// that frame, and the look it offers renders with `render --look` what it showed.
TEST_F(PreviewTest, AKeyedFrameOfASequenceOrMovieIsWhatRenderWritesAndTheLookRendersIt) {
    makeFrames(path("in_%04d.png"), 11, 13);
    // Lossless, so that the frames differ only as the effect makes them.
    ASSERT_EQ(makeClip(path("clip.mkv"), "-f lavfi -i testsrc2=size=96x54:rate=25 -frames:v 6 -c:v ffv1"),
              "");
    struct Case {
        std::string input, keys;
        int first, last, width, frame;
        std::string written;  // by the command
    };
    for (const Case& c : {Case{path("in_%04d.png"), "Hue Value=0@11,200@13", 11, 13, 64, 12, "in_0012.preview.png"},
                          Case{path("clip.mkv"), "Hue Value=0@2,200@6", 1, 6, 96, 4, "clip.preview.0004.png"}}) {
        SCOPED_TRACE(c.input);
        PreviewProcess preview({"--set", c.keys, c.input});
        ASSERT_GT(preview.port(), 0);
        const nlohmann::json effect = nlohmann::json::parse(get(preview, "/api/effect")->body);
        EXPECT_EQ(effect["frames"], nlohmann::json::array({c.first, c.last}));
        EXPECT_EQ(effect["width"], c.width);
        EXPECT_EQ(effect["parameters"][0]["keys"], c.keys.substr(10));
        EXPECT_EQ(effect["parameters"][0]["value"], 0);

        const std::string frame = "frame=" + std::to_string(c.frame) + "&set=Saturation%3D1.5";
        const httplib::Result served = get(preview, "/api/frame?" + frame);
        ASSERT_EQ(served->status, 200) << served->body;
        EXPECT_EQ(served->get_header_value("X-Frame"), std::to_string(c.frame));
        const std::string frames = "--frames " + std::to_string(c.frame) + " ";
        ASSERT_EQ(render(frames + "--set 'Hue Value=100' --set Saturation=1.5", c.input, path("const_%04d.png")), "");
        const std::string rendered = frameName(path("const_%04d.png"), c.frame);
        EXPECT_EQ(samePixels(save("served.png", served->body), rendered), "");
        const httplib::Result past = get(preview, "/api/frame?frame=" + std::to_string(c.last + 1));
        EXPECT_EQ(past->status, 400);
        EXPECT_NE(past->body.find("no input for frame " + std::to_string(c.last + 1)), std::string::npos);

        const std::string command = get(preview, "/api/command?" + frame)->body;
        EXPECT_NE(command.find(" " + frames), std::string::npos) << command;
        EXPECT_NE(command.find("--set '" + c.keys + "'"), std::string::npos) << command;
        const CommandResult run = runCommand(command);
        ASSERT_EQ(run.status, 0) << command << run.err;
        EXPECT_EQ(samePixels(path(c.written), rendered), "") << command;

        const httplib::Result look = get(preview, "/api/look?set=Saturation%3D1.5");
        ASSERT_EQ(look->status, 200) << look->body;
        EXPECT_NE(look->get_header_value("Content-Disposition").find("attachment"), std::string::npos);
        EXPECT_EQ(nlohmann::json::parse(look->body)["parameters"]["Saturation"], 1.5);
        ASSERT_EQ(render(frames + "--look " + quote(save("look.json", look->body)), c.input, path("look_%04d.png")), "");
        EXPECT_EQ(samePixels(frameName(path("look_%04d.png"), c.frame), rendered), "");
        EXPECT_EQ(get(preview, "/api/look?set=Hue%20Value%3D1%401%2C2%401")->status, 400);
        EXPECT_EQ(preview.stop(SIGTERM), 0);
    }
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
    std::vector<int> statuses;
    httplib::Result newest(nullptr, httplib::Error::Unknown);
    for (auto& answer : answers) statuses.push_back((newest = answer.get()) ? newest->status : -1);
    ASSERT_EQ(statuses, (std::vector<int>{200, 204, 204, 204, 204, 200}));
    EXPECT_EQ(other->status, 200);
    ASSERT_EQ(render("--set 'Hue Value=60'", kSample, path("rendered.png")), "");
    EXPECT_EQ(samePixels(save("newest.png", newest->body), path("rendered.png")), "");
    EXPECT_EQ(preview.stop(), 0);
}

TEST_F(PreviewTest, ABadStartIsTheCommandLinesErrorAndSigintEndsCleanlyAndFreesThePort) {
    PreviewProcess preview({kSample}, {"FXHOST_PREVIEW_TEST_DELAY_MS=2000"});
    ASSERT_GT(preview.port(), 0);
    // The port is this server's alone while it runs.
    const std::string port = std::to_string(preview.port());
    struct Start {
        std::string arguments;
        int status;
        std::string error;
    };
    for (const Start& start : std::vector<Start>{
             {"--port " + port + " " + kSample, 2, "cannot listen on 127.0.0.1:" + port},
             {"--set 'Hue Value=400' " + kSample, 2, "400 is out of range for parameter \"Hue Value\" (0 to 360)"},
             {quote(path("none.png")), 3, "none.png"}}) {
        const CommandResult r = runCommand(kFxhost + " preview " + start.arguments);
        EXPECT_EQ(r.status, start.status) << start.arguments;
        EXPECT_EQ(r.out, "");
        EXPECT_NE(r.err.find(start.error), std::string::npos) << r.err;
    }
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
    ASSERT_TRUE(rendering && queued);
    EXPECT_EQ(rendering->status, 200);  // the frame being rendered is finished
    EXPECT_EQ(queued->status, 503);     // the one waiting is told the preview stops
    EXPECT_TRUE(portIsFree(preview.port())) << runCommand("ss -tanp | grep :" + port).out;
}

}  // namespace
