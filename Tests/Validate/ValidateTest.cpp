// fxhost validate against bundles that each break one rule: the test that names the fault fails
// and says what is wrong, no other test fails, and the shipped bundle passes. Then what the
// command itself promises: exit codes, --list, patterns, repeats and the report files.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <future>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "CommandRunner.h"

namespace {

const std::string kValidate = std::string(OSTRIVANE_FXHOST_PATH) + " validate";

// The tests the report marks FAIL.
std::set<std::string> failedTests(const std::string& report) {
    std::set<std::string> failed;
    std::istringstream lines(report);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 6, "FAIL  ") == 0) failed.insert(line.substr(6, line.find(' ', 6) - 6));
    }
    return failed;
}

struct Fault {
    const char* bundle;
    const char* test;     // the one test that must fail
    const char* message;  // what its report must say
    const char* options = "--timeout 600";
};

const Fault kFaults[] = {
    {"BrokenLeaksTexture", "lifecycle",
     "live GL objects of the share group grew from frame 2 to frame 3 of cycle 1: textures 1 -> 2"},
    {"BrokenKeepsContext", "host-context", "after PF_Cmd_SMART_RENDER (success): context 0x"},
    {"BrokenWritesPastRows", "worlds",
     "1x1 with minimal rowbytes: output 1x1: byte 0 after the last row written"},
    {"BrokenThrowsOnUnknown", "commands.unknown",
     "unknown selector 25: a C++ exception crossed EntryPointFunc (std::logic_error: unknown command 25)"},
    {"BrokenUncheckedSuite", "faults.suites",
     "was killed by signal 11 (SIGSEGV) at: \"PF ANSI Suite\" missing: PF_Cmd_ABOUT"},
    {"BrokenThreadPixels", "threads",
     "on thread 1 of the pool differs from the host thread's frame: pixel 0,0"},
    {"BrokenCallsOnHostContext", "host-context",
     "GL calls were made without a context of the effect's current; the first: glFlush with the host's context current"},
    {"BrokenReleasesBeforeDeleting", "host-context",
     "after PF_Cmd_GLOBAL_SETDOWN (success), the host's context was used: the host's renderbuffer 1 was deleted"},
    {"BrokenEscapesAllocations", "faults.allocations",
     "made by the bundle's code refused: command 0: an exception crossed EntryPointFunc"},
    {"BrokenCPUDrifts", "renderers", "the renderers differ beyond rounding at pixel (0, 0)"},
    // A frame that never returns is killed at the time limit, and the battery goes on.
    {"BrokenHangsOnLargeFrames", "timing", "did not finish within 8 s (killed); it was at: 1920x1080 frame 1",
     "--only timing,parameters.table --timeout 8"},
};

TEST(Validate, EachBrokenBundleFailsTheTestNamingItsFaultAndNoOther) {
    // Two batteries at a time: each is one process after another, so two keep two cores busy. The
    // time limit is generous: under the sanitizers on a busy machine a fault case takes seconds.
    std::vector<std::future<CommandResult>> runs;
    for (const Fault& fault : kFaults) {
        if (runs.size() >= 2) runs[runs.size() - 2].wait();
        runs.push_back(std::async(std::launch::async, runCommand,
                                  kValidate + " " + fault.options + " --plugin " + OSTRIVANE_BROKEN_DIR + "/" +
                                      fault.bundle + ".plugin"));
    }
    for (size_t i = 0; i < runs.size(); ++i) {
        SCOPED_TRACE(kFaults[i].bundle);
        const CommandResult r = runs[i].get();
        EXPECT_EQ(r.status, 5) << r.err;
        EXPECT_EQ(failedTests(r.out), std::set<std::string>{kFaults[i].test}) << r.out;
        EXPECT_NE(r.out.find(kFaults[i].message), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("PASS  "), std::string::npos) << r.out;
    }
}

// -q: the failing tests and the verdict alone, a lone test counted as one.
TEST(Validate, QuietPrintsTheFailuresAndTheVerdictAlone) {
    const std::string quiet = std::string(OSTRIVANE_FXHOST_PATH) + " -q validate --only commands.sequence";
    const CommandResult passed = runCommand(quiet + " --plugin " + OSTRIVANE_BUNDLE_PATH);
    EXPECT_EQ(passed.status, 0) << passed.err;
    EXPECT_EQ(passed.out.rfind("PASS: the 1 test passed in ", 0), 0u) << passed.out;
    EXPECT_EQ(std::count(passed.out.begin(), passed.out.end(), '\n'), 1) << passed.out;
    const CommandResult failed =
        runCommand(quiet + ",renderers --plugin " + OSTRIVANE_BROKEN_DIR + "/BrokenCPUDrifts.plugin");
    EXPECT_EQ(failed.status, 5) << failed.err;
    EXPECT_EQ(failed.out.rfind("FAIL  renderers", 0), 0u) << failed.out;
    EXPECT_NE(failed.out.find("\nFAIL: 1 of 2 tests failed (renderers)"), std::string::npos) << failed.out;
    EXPECT_EQ(failed.out.find("PASS"), std::string::npos) << failed.out;
}

TEST(Validate, ReportsOnStandardOutputAndInFiles) {
    const std::string json = testing::TempDir() + "validate.json",
                      junit = testing::TempDir() + "validate.xml";
    const CommandResult r = runCommand(kValidate + " --only commands.sequence,worlds --repeat 2 --json " +
                                       json + " --junit " + junit + " --plugin " + OSTRIVANE_BUNDLE_PATH);
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    // The bundle's own driver report stays out of the validator's standard output.
    EXPECT_EQ(r.out.find("OpenGL"), std::string::npos) << r.out;
    for (const char* line : {"PASS  commands.sequence #1", "PASS  commands.sequence #2", "PASS  worlds #2",
                             "PASS: all 4 tests passed"}) {
        EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
    }
    const nlohmann::json report = nlohmann::json::parse(std::ifstream(json));  // throws, failing the test, if malformed
    EXPECT_EQ(report["passed"], true) << report;
    ASSERT_EQ(report["tests"].size(), 4u) << report;
    int worldsRuns = 0;
    for (const auto& test : report["tests"]) {
        EXPECT_EQ(test["result"], "pass") << report;
        worldsRuns += test["name"] == "worlds" && (test["run"] == 1 || test["run"] == 2);
    }
    EXPECT_EQ(worldsRuns, 2) << report;
    const std::string junitText = readText(junit);
    EXPECT_NE(junitText.find("tests=\"4\" failures=\"0\""), std::string::npos) << junitText;
    EXPECT_NE(junitText.find("<testcase classname=\"validate\" name=\"worlds #1\""), std::string::npos)
        << junitText;
}

TEST(Validate, ExitCodesForBadArgumentsAndBundlesThatDoNotLoad) {
    CommandResult r = runCommand(kValidate + " --only no-such-test");
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("no validation test matches \"no-such-test\""), std::string::npos) << r.err;
    EXPECT_EQ(runCommand(kValidate + " --level thorough").status, 2);
    EXPECT_EQ(runCommand(kValidate + " --skip faults,nonsense").status, 2);

    r = runCommand(kValidate + " --plugin /nonexistent/Effect.plugin");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("cannot load effect bundle '/nonexistent/Effect.plugin'"), std::string::npos)
        << r.err;
    EXPECT_EQ(r.out, "");

    r = runCommand(kValidate + " --list");
    EXPECT_EQ(r.status, 0);
    for (const char* name :
         {"commands.null", "faults.memory", "host-context", "lifecycle", "threads", "timing"})
        EXPECT_NE(r.out.find(std::string(name) + "\n    "), std::string::npos) << name;
}

}  // namespace
