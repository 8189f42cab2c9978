// The effect's one exported function. Every command's failure reaches the host
// as a PF_Err and never as an exception: a thrown int is 516
// (PF_Err_BAD_CALLBACK_PARAM), a failed allocation PF_Err_OUT_OF_MEMORY, and
// anything else PF_Err_INTERNAL_STRUCT_DAMAGED.
#pragma once

#include "PFTypes.h"

extern "C" __attribute__((visibility("default"))) PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in_data,
                                                                        PF_OutData* out_data,
                                                                        PF_ParamDef** params,
                                                                        PF_LayerDef* output, void* extra);
