#include "PFTypes.h"
extern "C" __attribute__((visibility("default"))) PF_Err EntryPointFunc(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamList, PF_LayerDef*, void*) { return 0; }
