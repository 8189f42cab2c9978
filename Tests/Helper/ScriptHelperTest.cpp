#include "ScriptHelper.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <vector>

#include "AEGPSuites.h"

using Ostrivane::GaussianBlur::ScriptHelper;

namespace {

// A basic suite serving only the utility and memory suites, logging every
// call that the helper makes so that order and balance can be checked.
struct FakeBlock {
  std::string name;
  std::string text;
};

struct FakeHost {
  bool hasUtility = true;
  bool hasMemory = true;
  bool nullTables = false;
  bool giveResult = true;
  bool giveError = true;
  std::string resultText;
  std::string errorText = "no error";
  int liveHandles = 0;
  std::vector<std::string> log;
};

FakeHost* gHost = nullptr;

AEGP_MemHandle NewHandle(const char* name, const std::string& text) {
  ++gHost->liveHandles;
  return reinterpret_cast<AEGP_MemHandle>(new FakeBlock{name, text});
}

FakeBlock* Block(AEGP_MemHandle handle) { return reinterpret_cast<FakeBlock*>(handle); }

const AEGP_UtilitySuite5 kUtility = {
    nullptr,
    [](AEGP_PluginID id, const A_char* script, const A_Boolean platformEncoding, AEGP_MemHandle* result,
       AEGP_MemHandle* error) -> A_Err {
      gHost->log.push_back("execute " + std::to_string(id) + " " + std::to_string(platformEncoding) + " " + script);
      if (gHost->giveResult) {
        *result = NewHandle("result", gHost->resultText);
      }
      if (gHost->giveError) {
        *error = NewHandle("error", gHost->errorText);
      }
      return A_Err_NONE;
    }};

const AEGP_MemorySuite1 kMemory = {
    nullptr,
    [](AEGP_MemHandle handle) -> A_Err {
      gHost->log.push_back("free " + Block(handle)->name);
      --gHost->liveHandles;
      delete Block(handle);
      return A_Err_NONE;
    },
    [](AEGP_MemHandle handle, void** text) -> A_Err {
      gHost->log.push_back("lock " + Block(handle)->name);
      *text = &Block(handle)->text[0];
      return A_Err_NONE;
    },
    nullptr, nullptr};

SPBasicSuite MakeBasic() {
  SPBasicSuite basic = {};
  basic.AcquireSuite = [](const char* name, int32_t version, const void** suite) -> SPErr {
    const std::string which = name;
    gHost->log.push_back("acquire " + which + " " + std::to_string(version));
    if (which == "AEGP Utility Suite" && version == 11 && gHost->hasUtility) {
      *suite = gHost->nullTables ? nullptr : &kUtility;
      return kSPNoError;
    }
    if (which == "AEGP Memory Suite" && version == 1 && gHost->hasMemory) {
      *suite = gHost->nullTables ? nullptr : &kMemory;
      return kSPNoError;
    }
    return kSPSuiteNotFoundError;
  };
  basic.ReleaseSuite = [](const char* name, int32_t version) -> SPErr {
    gHost->log.push_back("release " + std::string(name) + " " + std::to_string(version));
    return kSPNoError;
  };
  return basic;
}

// The int that call throws, or -1 if it returns.
template <typename Call>
int ThrownCode(Call call) {
  try {
    call();
  } catch (int code) {
    return code;
  }
  return -1;
}

class ScriptHelperTest : public ::testing::Test {
 protected:
  void SetUp() override { gHost = &mHost; }
  void TearDown() override {
    EXPECT_EQ(mHost.liveHandles, 0);
    gHost = nullptr;
  }

  std::string run(const char* script) { return ScriptHelper::RunSriptAndGetStringResult(&mBasic, script); }

  FakeHost mHost;
  SPBasicSuite mBasic = MakeBasic();
};

}  // namespace

TEST_F(ScriptHelperTest, ReturnsResultTextAndGivesEverythingBackInOrder) {
  mHost.resultText = "Comp 1";
  EXPECT_EQ(run("app.project.activeItem.name"), "Comp 1");
  const std::vector<std::string> expected = {
      "acquire AEGP Utility Suite 11",
      "acquire AEGP Memory Suite 1",
      "execute 0 0 app.project.activeItem.name",
      "lock result",
      "lock error",
      "free result",
      "free error",
      "release AEGP Memory Suite 1",
      "release AEGP Utility Suite 11",
  };
  EXPECT_EQ(mHost.log, expected);
}

TEST_F(ScriptHelperTest, ResultEndsAtItsFirstZeroAndIsNotTrimmed) {
  mHost.resultText = std::string(" 12\0tail", 8);
  EXPECT_EQ(run("x"), " 12");
}

TEST_F(ScriptHelperTest, EmptyOrMissingResultGivesEmptyString) {
  mHost.resultText = "";
  EXPECT_EQ(run("''"), "");

  mHost.log.clear();
  mHost.giveResult = false;
  EXPECT_EQ(run("undefined"), "");
  // Nothing is asked of a handle the host never made; the error handle is still freed.
  const std::vector<std::string> expected = {
      "acquire AEGP Utility Suite 11", "acquire AEGP Memory Suite 1", "execute 0 0 undefined", "lock error",
      "free error", "release AEGP Memory Suite 1", "release AEGP Utility Suite 11",
  };
  EXPECT_EQ(mHost.log, expected);

  mHost.giveError = false;
  EXPECT_EQ(run("undefined"), "");
}

TEST_F(ScriptHelperTest, MissingSuiteThrows13AndReleasesWhatWasAcquired) {
  mHost.hasMemory = false;
  EXPECT_EQ(ThrownCode([&] { run("x"); }), 13);
  const std::vector<std::string> expected = {
      "acquire AEGP Utility Suite 11",
      "acquire AEGP Memory Suite 1",
      "release AEGP Utility Suite 11",
  };
  EXPECT_EQ(mHost.log, expected);

  mHost.log.clear();
  mHost.hasUtility = false;
  mHost.hasMemory = true;
  EXPECT_EQ(ThrownCode([&] { run("x"); }), 13);
  EXPECT_EQ(mHost.log, std::vector<std::string>{"acquire AEGP Utility Suite 11"});
}

TEST_F(ScriptHelperTest, NoBasicSuiteOrEmptyTablesCountAsMissing) {
  EXPECT_EQ(ThrownCode([] { ScriptHelper::RunSriptAndGetStringResult(nullptr, "x"); }), 13);

  mHost.nullTables = true;
  EXPECT_EQ(ThrownCode([&] { run("x"); }), 13);
  for (const std::string& entry : mHost.log) {
    EXPECT_EQ(entry.rfind("execute", 0), std::string::npos) << entry;
  }
}

TEST(ScriptHelper, TrimRemovesLeadingAndTrailingWhiteSpaceOnly) {
  EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces("  two words\n"), "two words");
  EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces("\t\v\f\r x"), "x");
  EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces("x"), "x");
  EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(""), "");
  EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(" \t\n\v\f\r"), "");
}

TEST(ScriptHelper, TrimLeavesBytesAbove127InTheCLocale) {
  ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
  // A UTF-8 no-break space and a Latin-1 one are not white space byte by byte here.
  EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces("\xC2\xA0" "a \xA0"), "\xC2\xA0" "a \xA0");
  EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(" \xFF "), "\xFF");
}
