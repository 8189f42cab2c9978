// Holds one host suite for the length of a scope. The constructor acquires and
// throws the int A_Err_MISSING_SUITE (13) if the host has no such suite; the
// destructor releases what was acquired. Never copied.
#pragma once

#include "PFTypes.h"
#include "SPBasic.h"

namespace Ostrivane {
namespace GaussianBlur {

template <typename T>
class SuiteScoper {
public:
    // With out_data, a failure also shows a message to the user: error_string,
    // or a generic text when that is null.
    SuiteScoper(const PF_InData* in_data, const char* suite_name, int suite_version,
                PF_OutData* out_data = nullptr, const char* error_string = nullptr)
        : mSuite(nullptr),
          mBasicSuite(in_data->pica_basicP),
          mSuiteName(suite_name),
          mSuiteVersion(suite_version) {
        const void* suite = nullptr;
        if (mBasicSuite->AcquireSuite(mSuiteName, mSuiteVersion, &suite) != 0) {
            if (out_data) {
                out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
                in_data->utils->ansi.sprintf(out_data->return_msg, "%s",
                                             error_string ? error_string : "Not able to acquire AEFX Suite.");
            }
            throw static_cast<int>(A_Err_MISSING_SUITE);
        }
        mSuite = static_cast<const T*>(suite);
    }

    SuiteScoper(SPBasicSuite* basic, const char* suite_name, int suite_version)
        : mSuite(nullptr), mBasicSuite(basic), mSuiteName(suite_name), mSuiteVersion(suite_version) {
        const void* suite = nullptr;
        if (mBasicSuite->AcquireSuite(mSuiteName, mSuiteVersion, &suite) != 0) {
            throw static_cast<int>(A_Err_MISSING_SUITE);
        }
        mSuite = static_cast<const T*>(suite);
    }

    ~SuiteScoper() {
        // A host may report success with a null table; there is nothing to give back then.
        if (mSuite) {
            mBasicSuite->ReleaseSuite(mSuiteName, mSuiteVersion);
        }
    }

    SuiteScoper(const SuiteScoper&) = delete;
    SuiteScoper& operator=(const SuiteScoper&) = delete;

    const T* get() const { return mSuite; }
    const T* operator->() const { return mSuite; }

private:
    const T* mSuite;
    SPBasicSuite* mBasicSuite;
    const char* mSuiteName;
    int32_t mSuiteVersion;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
