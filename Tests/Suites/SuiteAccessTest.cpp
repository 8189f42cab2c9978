#include <gtest/gtest.h>

#include <cstring>

#include "EffectHost.h"
#include "PFSuites.h"
#include "SuiteAccess.h"
#include "SuiteScoper.h"

using namespace Ostrivane::GaussianBlur;

namespace {

class SuiteAccess : public ::testing::Test {
protected:
    SuiteAccess() : host(OSTRIVANE_BUNDLE_PATH, fxhost::HostOptions{false}) {
        in = &host.inData();
        out = &host.outData();
        std::strcpy(out->return_msg, "");
        out->out_flags = 0;
    }
    bool showsMessage() const { return out->out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE; }

    fxhost::EffectHost host;
    PF_InData* in;
    PF_OutData* out;
};

}  // namespace

TEST_F(SuiteAccess, AcquireAndReleaseByReturnCodeAFailureShowingNameAndVersionOrTheCallersText) {
    void* suite = nullptr;
    EXPECT_EQ(AcquireSuite(in, out, "PF Handle Suite", 2, nullptr, &suite), PF_Err_NONE);
    EXPECT_NE(suite, nullptr);
    EXPECT_EQ(ReleaseSuite(in, out, "PF Handle Suite", 2, nullptr), PF_Err_NONE);
    EXPECT_EQ(host.suites().unbalanced(), "");
    EXPECT_FALSE(showsMessage());

    EXPECT_EQ(AcquireSuite(in, out, "PF Handle Suite", 7, nullptr, &suite), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_STREQ(out->return_msg, "Not able to acquire AEFX Suite-PF Handle Suite-7");
    EXPECT_TRUE(showsMessage());
    EXPECT_EQ(AcquireSuite(in, out, "No Such Suite", 1, "Please update the host.", &suite),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_STREQ(out->return_msg, "Please update the host.");
}

TEST_F(SuiteAccess, DrawbotSuitesStopAtTheFirstFailureKeepingEarlierOnes) {
    EXPECT_EQ(AcquireDrawbotSuites(in, out, nullptr), PF_Err_UNRECOGNIZED_PARAM_TYPE);
    EXPECT_STREQ(out->return_msg, "NULL suite pointer passed to AEFX_AcquireDrawbotSuites");

    host.faults().missingSuites.insert("DRAWBOT Surface Suite");
    DRAWBOT_Suites suites = DRAWBOT_Suites();
    EXPECT_EQ(AcquireDrawbotSuites(in, out, &suites), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_NE(suites.supplier_suiteP, nullptr);
    EXPECT_EQ(suites.surface_suiteP, nullptr);
    EXPECT_EQ(suites.path_suiteP, nullptr);
    EXPECT_EQ(host.suites().acquired("DRAWBOT Draw Suite"), 1);
    EXPECT_EQ(host.suites().acquired("DRAWBOT Path Suite"), 0);
    EXPECT_STREQ(out->return_msg, "Not able to acquire AEFX Suite-DRAWBOT Surface Suite-2");

    host.faults().clear();
    EXPECT_EQ(AcquireDrawbotSuites(in, out, &suites), PF_Err_NONE);
    EXPECT_NE(suites.path_suiteP, nullptr);
}

// A scoper releases its suite on the way out, but not a null table; a missing suite throws 13, with a
// message shown only when the scoper was given the output.
TEST_F(SuiteAccess, ScoperReleasesOnExitAndThrows13WhenMissing) {
    {
        SuiteScoper<PF_HandleSuite1> handles(in, "PF Handle Suite", 2, nullptr, nullptr);
        EXPECT_NE(handles.get(), nullptr);
        EXPECT_EQ(host.suites().released("PF Handle Suite"), 0);
    }
    EXPECT_EQ(host.suites().released("PF Handle Suite"), 1);
    host.faults().nullTableSuites.insert("PF ANSI Suite");
    EXPECT_EQ((SuiteScoper<PF_ANSICallbacksSuite1>(in->pica_basicP, "PF ANSI Suite", 1).get()), nullptr);
    EXPECT_EQ(host.suites().released("PF ANSI Suite"), 0);

    host.faults().missingSuites.insert("PF Handle Suite");
    try {
        SuiteScoper<PF_HandleSuite1> handles(in, "PF Handle Suite", 2, nullptr, nullptr);
        FAIL() << "no exception";
    } catch (int code) {
        EXPECT_EQ(code, 13);
    }
    EXPECT_FALSE(showsMessage());
    EXPECT_THROW((SuiteScoper<PF_HandleSuite1>(in, "PF Handle Suite", 2, out, nullptr)), int);
    EXPECT_STREQ(out->return_msg, "Not able to acquire AEFX Suite.");
    EXPECT_TRUE(showsMessage());
    EXPECT_THROW((SuiteScoper<PF_HandleSuite1>(in, "PF Handle Suite", 2, out, "custom")), int);
    EXPECT_STREQ(out->return_msg, "custom");
    EXPECT_THROW((SuiteScoper<PF_HandleSuite1>(in->pica_basicP, "PF Handle Suite", 2)), int);
    EXPECT_EQ(host.suites().unbalanced(), "");
}
