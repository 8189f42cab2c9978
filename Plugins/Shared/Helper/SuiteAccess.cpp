#include "SuiteAccess.h"

#include <cstdio>

#include "SPBasic.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

void ShowMessage(PF_InData* in_data, PF_OutData* out_data, const char* text) {
    out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
    in_data->utils->ansi.sprintf(out_data->return_msg, "%s", text);
}

}  // namespace

PF_Err AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_string, void** suite) {
    if (in_data->pica_basicP) {
        // The host's code is not trusted on its own: only a table counts as success.
        in_data->pica_basicP->AcquireSuite(name, version, const_cast<const void**>(suite));
        if (*suite) {
            return PF_Err_NONE;
        }
    }
    char message[1024];
    std::snprintf(message, sizeof message, "Not able to acquire AEFX Suite-%s-%d", name, version);
    ShowMessage(in_data, out_data, error_string ? error_string : message);
    return PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_string) {
    if (in_data->pica_basicP) {
        in_data->pica_basicP->ReleaseSuite(name, version);
        return PF_Err_NONE;
    }
    ShowMessage(in_data, out_data, error_string ? error_string : "Not able to release AEFX Suite.");
    return PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err AcquireDrawbotSuites(PF_InData* in_data, PF_OutData* out_data, DRAWBOT_Suites* suites) {
    if (!suites) {
        ShowMessage(in_data, out_data, "NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
        return PF_Err_UNRECOGNIZED_PARAM_TYPE;
    }
    PF_Err err = AcquireSuite(in_data, out_data, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1, nullptr,
                              reinterpret_cast<void**>(&suites->drawbot_suiteP));
    if (!err) {
        err = AcquireSuite(in_data, out_data, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1,
                           nullptr, reinterpret_cast<void**>(&suites->supplier_suiteP));
    }
    if (!err) {
        err = AcquireSuite(in_data, out_data, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2, nullptr,
                           reinterpret_cast<void**>(&suites->surface_suiteP));
    }
    if (!err) {
        err = AcquireSuite(in_data, out_data, kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1, nullptr,
                           reinterpret_cast<void**>(&suites->path_suiteP));
    }
    return err;
}

PF_Err ReleaseDrawbotSuites(PF_InData* in_data, PF_OutData* out_data) {
    ReleaseSuite(in_data, out_data, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1, nullptr);
    ReleaseSuite(in_data, out_data, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1, nullptr);
    ReleaseSuite(in_data, out_data, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2, nullptr);
    ReleaseSuite(in_data, out_data, kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1, nullptr);
    return PF_Err_NONE;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
