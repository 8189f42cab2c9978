// Fault: a command the effect does not know is answered with a C++ exception out of the entry point.
#include <stdexcept>
#include <string>

#include "Shim.h"

SHIM_ENTRY_POINT {
    const bool known = cmd == PF_Cmd_ABOUT || cmd == PF_Cmd_GLOBAL_SETUP || cmd == PF_Cmd_GLOBAL_SETDOWN ||
                       cmd == PF_Cmd_PARAMS_SETUP || cmd == PF_Cmd_SMART_PRE_RENDER ||
                       cmd == PF_Cmd_SMART_RENDER;
    if (!known) throw std::logic_error("unknown command " + std::to_string(cmd));
    return GoodEntryPointFunc(cmd, in_data, out_data, params, output, extra);
}
