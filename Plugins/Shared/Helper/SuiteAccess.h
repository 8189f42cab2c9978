// Suite access by return code: failures set PF_OutFlag_DISPLAY_ERROR_MESSAGE
// and write a message into out_data->return_msg; nothing throws.
#pragma once

#include "DrawbotSuites.h"
#include "PFTypes.h"

namespace Ostrivane {
namespace GaussianBlur {

// 0 with *suite set, or 516 with the message (error_string if given).
PF_Err AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_string, void** suite);
// 0, or 516 with the message when the host has no basic suite.
PF_Err ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_string);
// The four drawing suites in the order draw, supplier, surface, path; the first
// failure is returned at once and the suites acquired before it stay acquired.
PF_Err AcquireDrawbotSuites(PF_InData* in_data, PF_OutData* out_data, DRAWBOT_Suites* suites);
// Releases all four, carrying on after a failure; always 0.
PF_Err ReleaseDrawbotSuites(PF_InData* in_data, PF_OutData* out_data);

}  // namespace GaussianBlur
}  // namespace Ostrivane
