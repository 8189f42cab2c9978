// Looks: one written from settings renders what those settings render as --set arguments, a --set
// overrides one parameter of it, and every fault in a look is refused naming what is wrong.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "CommandRunner.h"
#include "HostFixture.h"
#include "ParameterSettings.h"
#include "SequenceFiles.h"

namespace {

const std::string kHead = R"({"format": "fxhost look", "version": 1, "effect": "Ostrivane Hue And Saturation", )";

class Looks : public WithFolder<HostFixture> {
protected:
    void SetUp() override {
        WithFolder::SetUp();
        std::filesystem::create_directories(dir + "/out");
        in = dir + "/in_%04d.png";
    }
    // Renders the sequence under both sets of arguments and compares them frame by frame.
    void expectSameFrames(const std::string& first, const std::string& second, int frames) {
        for (const std::string& args : {first + " " + in + " " + dir + "/out/a_%04d.png",
                                        second + " " + in + " " + dir + "/out/b_%04d.png"}) {
            const CommandResult r = runFxhost("render " + args);
            ASSERT_EQ(r.status, 0) << r.err;
        }
        for (int frame = 1; frame <= frames; ++frame)
            EXPECT_EQ(samePixels(frameName(dir + "/out/a_%04d.png", frame), frameName(dir + "/out/b_%04d.png", frame)), "");
    }

    std::string in;
};

}  // namespace

// A look written from settings holds them as the look format says, and renders what they render as
// --set arguments; the effect's default stands for a parameter nobody set; a look that cannot be
// written says which and why.
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
    EXPECT_EQ(nlohmann::json::parse(readText(dir + "/look.json")),
              nlohmann::json::parse(kHead + R"("parameters": {"Hue Value": 123.5,
                  "Saturation": [{"frame": 2, "value": 0.25}, {"frame": 5, "value": 1.75}]}})"));
    expectSameFrames("--look " + dir + "/look.json", line, 6);
    // A --set before the look still wins over the look's value for its parameter.
    expectSameFrames("--set \"hue value=200\" --look " + dir + "/look.json",
                     "--set \"Hue Value=200\" --set 'Saturation=0.25@2,1.75@5'", 6);

    fxhost::ParameterSettings none;
    EXPECT_NE(fxhost::ParameterSettings::look(*host, none.resolve(*host)).json().find("\"Hue Value\": 0.0"),
              std::string::npos);
    try {
        fxhost::ParameterSettings::look(*host, {}).write(dir + "/none/look.json");
        ADD_FAILURE() << "a look was written into a folder that is not there";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(std::string(e.what()), "cannot write look " + dir + "/none/look.json: No such file or directory");
    }
}

// Every fault in a look is refused with exit 2, naming the look and the fault, before anything is
// written or submitted, by render, farm submit and sheet alike.
TEST_F(Looks, BadLooksExitTwoNamingTheFaultAndWriteNothing) {
    makeFrames(in, 1, 2);
    const std::string look = dir + "/look.json";
    const struct {
        std::string text;
        std::string message;
    } cases[] = {
        {R"({"format": "fxhost look", "version": 1, "effect": "Ostrivane Blur", "parameters": {}})",
         "it is a look for \"Ostrivane Blur\", not for \"Ostrivane Hue And Saturation\""},
        {kHead + R"("parameters": {"Shade": 3}})", "parameter \"Shade\": unknown parameter \"Shade\""},
        {kHead + R"("parameters": {"Hue Value": [{"frame": 1, "value": 0}, {"frame": 9, "value": 400}]}})",
         "parameter \"Hue Value\": key at frame 9: 400 is out of range"},
        {kHead + R"("parameters": {"Hue Value": "90"}})", "parameter \"Hue Value\": neither a number nor a list"},
        {kHead + R"("parameters": {"Hue Value": 90},})", "not JSON"},
        {kHead + R"("parameters": {"Hue Value": 1e999}})", "not JSON ([json.exception.out_of_range.406] number overflow"},
        {R"({"format": "fxhost look", "version": 2, "effect": "x", "parameters": {}})",
         "\"version\" 2 is newer than this fxhost reads (1)"},
        {R"({"format": "fxhost look", "version": 4294967297, "effect": "x", "parameters": {}})",
         "\"version\" 4294967297 is newer than this fxhost reads (1)"},
        {R"({"format": "fxhost look", "version": 1.0, "effect": "x", "parameters": {}})",
         "\"version\" is 1.0: it is 1, the one version there is"},
        {R"({"format": "fxhost look", "version": -4294967295, "effect": "x", "parameters": {}})",
         "\"version\" is -4294967295: it is 1, the one version there is"},
        {R"({"effect": "x", "parameters": {}})", "not a look"},
        {"", "cannot read look " + look + ": No such file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::filesystem::remove(look);
        if (!c.text.empty()) std::ofstream(look) << c.text;
        for (const std::string& args : {"render --look " + look + " " + in + " " + dir + "/out/o_%04d.png",
                                        "farm submit --dry-run --chunk 3 --look " + look + " " + in + " " + dir + "/out/o_%04d.png",
                                        "sheet --vary Saturation=0:2:2 --look " + look + " " + frameName(in, 1) +
                                            " " + dir + "/out/sheet.png"}) {
            const CommandResult r = runFxhost(args);
            EXPECT_EQ(r.status, 2);
            EXPECT_NE(r.err.find("look " + look + ": "), std::string::npos) << r.err;
            EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
            EXPECT_TRUE(std::filesystem::is_empty(dir + "/out"));
        }
    }
}
