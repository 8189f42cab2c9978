// Looks: one written from settings renders what those settings render as --set arguments, a --set
// overrides one parameter of it, and every fault in a look is refused naming what is wrong.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "CommandRunner.h"
#include "HostFixture.h"
#include "ParameterSettings.h"
#include "SequenceFiles.h"

namespace {

const std::string kFxhost = OSTRIVANE_FXHOST_PATH;

class Looks : public HostFixture {
protected:
    void SetUp() override {
        HostFixture::SetUp();
        dir = "/tmp/fxhost-looks-" + std::to_string(getpid()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_EQ(std::system(("rm -rf " + dir + " && mkdir -p " + dir + "/out").c_str()), 0);
        in = dir + "/in_%04d.png";
    }
    void TearDown() override {
        HostFixture::TearDown();
        if (!HasFailure()) std::filesystem::remove_all(dir);
    }
    void writeFile(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

    std::string dir, in;
};

}  // namespace

TEST_F(Looks, AWrittenLookRendersWhatItsSetArgumentsRender) {
    setUpEffect();
    makeFrames(in, 1, 6);
    fxhost::ParameterSettings settings;
    settings.add("saturation=0.25@2,1.75@5");
    settings.add("1=123.5");
    const fxhost::ParameterSettings::Curves curves = settings.resolve(*host);
    const std::string line = fxhost::ParameterSettings::commandLine(*host, curves);
    EXPECT_EQ(line, "--set 'Hue Value=123.5' --set 'Saturation=0.25@2,1.75@5'");
    fxhost::ParameterSettings::look(*host, curves).write(dir + "/look.json");

    const nlohmann::json json = nlohmann::json::parse(readText(dir + "/look.json"));
    EXPECT_EQ(json["format"], "fxhost look");
    EXPECT_EQ(json["version"], 1);
    EXPECT_EQ(json["effect"], "Ostrivane Hue And Saturation");
    EXPECT_EQ(json["parameters"]["Hue Value"], 123.5);
    EXPECT_EQ(json["parameters"]["Saturation"],
              nlohmann::json::parse(R"([{"frame": 2, "value": 0.25}, {"frame": 5, "value": 1.75}])"));

    CommandResult r =
        runCommand(kFxhost + " render --look " + dir + "/look.json " + in + " " + dir + "/out/l_%04d.png");
    ASSERT_EQ(r.status, 0) << r.err;
    r = runCommand(kFxhost + " render " + line + " " + in + " " + dir + "/out/s_%04d.png");
    ASSERT_EQ(r.status, 0) << r.err;
    for (int frame = 1; frame <= 6; ++frame) {
        EXPECT_EQ(
            samePixels(frameName(dir + "/out/l_%04d.png", frame), frameName(dir + "/out/s_%04d.png", frame)),
            "");
    }
    // A look that cannot be written says which and why, and leaves the one there as it was.
    try {
        fxhost::ParameterSettings::look(*host, {}).write(dir + "/none/look.json");
        ADD_FAILURE() << "a look was written into a folder that is not there";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(std::string(e.what()),
                  "cannot write look " + dir + "/none/look.json: No such file or directory");
    }
    // The effect's default stands in the look for a parameter nobody set.
    fxhost::ParameterSettings none;
    const fxhost::Look defaults = fxhost::ParameterSettings::look(*host, none.resolve(*host));
    EXPECT_EQ(defaults.json().find("\"Hue Value\": 0.0") != std::string::npos, true) << defaults.json();
}

TEST_F(Looks, ASetOverridesOneParameterOfTheLook) {
    makeFrames(in, 1, 4);
    writeFile(dir + "/look.json",
              R"({"format": "fxhost look", "version": 1, "effect": "Ostrivane Hue And Saturation",
        "parameters": {"Hue Value": [{"frame": 1, "value": 10}, {"frame": 4, "value": 310}], "Saturation": 1.5}})");
    // Before the look on the command line or after it, the --set wins.
    CommandResult r = runCommand(kFxhost + " render --set \"hue value=200\" --look " + dir + "/look.json " +
                                 in + " " + dir + "/out/l_%04d.png");
    ASSERT_EQ(r.status, 0) << r.err;
    r = runCommand(kFxhost + " render --set \"Hue Value=200\" --set Saturation=1.5 " + in + " " + dir +
                   "/out/s_%04d.png");
    ASSERT_EQ(r.status, 0) << r.err;
    for (int frame = 1; frame <= 4; ++frame) {
        EXPECT_EQ(
            samePixels(frameName(dir + "/out/l_%04d.png", frame), frameName(dir + "/out/s_%04d.png", frame)),
            "");
    }
}

TEST_F(Looks, BadLooksExitTwoNamingTheFaultAndWriteNothing) {
    makeFrames(in, 1, 2);
    const std::string head =
        R"({"format": "fxhost look", "version": 1, "effect": "Ostrivane Hue And Saturation", )";
    const struct {
        std::string text;
        std::string message;
    } cases[] = {
        {R"({"format": "fxhost look", "version": 1, "effect": "Ostrivane Blur", "parameters": {}})",
         "it is a look for \"Ostrivane Blur\", not for \"Ostrivane Hue And Saturation\""},
        {head + R"("parameters": {"Shade": 3}})", "parameter \"Shade\": unknown parameter \"Shade\""},
        {head + R"("parameters": {"Hue Value": [{"frame": 1, "value": 0}, {"frame": 9, "value": 400}]}})",
         "parameter \"Hue Value\": key at frame 9: 400 is out of range"},
        {head + R"("parameters": {"Hue Value": "90"}})",
         "parameter \"Hue Value\": neither a number nor a list"},
        {head + R"("parameters": {"Hue Value": 90},})", "not JSON"},
        {head + R"("parameters": {"Hue Value": 1e999}})", "not JSON ([json.exception.out_of_range.406] number overflow"},
        {R"({"format": "fxhost look", "version": 2, "effect": "x", "parameters": {}})",
         "\"version\" 2 is newer than this fxhost reads (1)"},
        {R"({"format": "fxhost look", "version": 4294967297, "effect": "x", "parameters": {}})",
         "\"version\" 4294967297 is newer than this fxhost reads (1)"},
        {R"({"format": "fxhost look", "version": 1.0, "effect": "x", "parameters": {}})",
         "\"version\" is 1.0: it is an integer from 1 to 1"},
        {R"({"format": "fxhost look", "version": -4294967295, "effect": "x", "parameters": {}})",
         "\"version\" is -4294967295: it is an integer from 1 to 1"},
        {R"({"effect": "x", "parameters": {}})", "not a look"},
    };
    for (const auto& c : cases) {
        writeFile(dir + "/look.json", c.text);
        // The sheet reads looks through the same code; once is enough to show it refuses them too.
        const bool first = &c == &cases[0];
        for (const std::string& command :
             {std::string(" render "), std::string(" sheet --vary Saturation=0:2:2 ")}) {
            if (!first && command != " render ") continue;
            const std::string output =
                command == " render " ? dir + "/out/o_%04d.png" : dir + "/out/sheet.png";
            const CommandResult r =
                runCommand(kFxhost + command + "--look " + dir + "/look.json " +
                           (command == " render " ? in : frameName(in, 1)) + " " + output);
            EXPECT_EQ(r.status, 2) << c.text;
            EXPECT_NE(r.err.find("look " + dir + "/look.json: "), std::string::npos) << r.err;
            EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
            EXPECT_TRUE(std::filesystem::is_empty(dir + "/out")) << c.text;
        }
    }
    const CommandResult r =
        runCommand(kFxhost + " render --look " + dir + "/none.json " + in + " " + dir + "/out/o_%04d.png");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("cannot read look " + dir + "/none.json: No such file"), std::string::npos) << r.err;
}
