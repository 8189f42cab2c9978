#include "ScriptHelper.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FaultPlan.h"
#include "HostSuites.h"

using Ostrivane::GaussianBlur::ScriptHelper;

namespace {

// Runs scripts against the stand-in host, which answers with mAnswer (or
// with no result handle when mAnswers is false) and records every script.
class ScriptHelperTest : public ::testing::Test {
protected:
    ScriptHelperTest() : mSuites(mPlan) {
        mSuites.setScriptHandler([this](const std::string& script, std::string& result) {
            mScripts.push_back(script);
            result = mAnswer;
            return mAnswers;
        });
    }
    // Whatever happened, every suite went back and no handle was left alive.
    void TearDown() override {
        EXPECT_EQ(mSuites.unbalanced(), "");
        EXPECT_EQ(mSuites.liveMemHandles(), 0);
    }

    std::string run(const char* script) {
        return ScriptHelper::RunSriptAndGetStringResult(mSuites.basicSuite(), script);
    }

    fxhost::FaultPlan mPlan;
    fxhost::HostSuites mSuites;
    std::vector<std::string> mScripts;
    std::string mAnswer;
    bool mAnswers = true;
};

}  // namespace

// The result ends at its first zero and is not trimmed; with no result handle (the error handle
// still comes and must be freed) it is empty.
TEST_F(ScriptHelperTest, ScriptReachesTheHostAndResultTextComesBack) {
    mAnswer = "Comp 1";
    EXPECT_EQ(run("app.project.activeItem.name"), "Comp 1");
    EXPECT_EQ(mScripts, std::vector<std::string>{"app.project.activeItem.name"});
    EXPECT_EQ(mSuites.acquired("AEGP Utility Suite"), 1);
    EXPECT_EQ(mSuites.acquired("AEGP Memory Suite"), 1);

    mAnswer = std::string(" 12\0tail", 8);
    EXPECT_EQ(run("x"), " 12");
    mAnswer = "";
    EXPECT_EQ(run("''"), "");
    mAnswers = false;
    mAnswer = "ignored";
    EXPECT_EQ(run("undefined"), "");
    EXPECT_EQ(mScripts.size(), 4u);
}

TEST_F(ScriptHelperTest, MissingSuiteThrows13AndReleasesWhatWasAcquired) {
    for (const char* missing : {"AEGP Memory Suite", "AEGP Utility Suite"}) {
        mPlan.missingSuites = {missing};
        try {
            run("x");
            ADD_FAILURE() << "no exception without " << missing;
        } catch (int code) {
            EXPECT_EQ(code, 13) << missing;
        }
    }
    EXPECT_EQ(mSuites.acquired("AEGP Utility Suite"), 1);
    EXPECT_EQ(mSuites.released("AEGP Utility Suite"), 1);
    EXPECT_TRUE(mScripts.empty());
}

TEST(ScriptHelper, TrimRemovesLeadingAndTrailingWhiteSpaceOnly) {
    EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces("  two words\n"), "two words");
    EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces("\t\v\f\r x"), "x");
    EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces("x"), "x");
    EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(""), "");
    EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(" \t\n\v\f\r"), "");
}
