// Fault: about calls through the ANSI suite without checking that the host gave it one.
#include "PFSuites.h"
#include "SPBasic.h"
#include "Shim.h"

SHIM_ENTRY_POINT {
    if (cmd == PF_Cmd_ABOUT && in_data && out_data && in_data->pica_basicP) {
        const PF_ANSICallbacksSuite1* ansi = nullptr;
        in_data->pica_basicP->AcquireSuite(kPFANSISuite, kPFANSISuiteVersion1,
                                           reinterpret_cast<const void**>(&ansi));
        ansi->strcpy(out_data->return_msg, "");
        in_data->pica_basicP->ReleaseSuite(kPFANSISuite, kPFANSISuiteVersion1);
    }
    return GoodEntryPointFunc(cmd, in_data, out_data, params, output, extra);
}
