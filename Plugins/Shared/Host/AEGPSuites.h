// Host project API: the AEGP suites the system acquires. Only the members the
// system or the stand-in host needs are declared; the rest of each table is
// the host's business.
#pragma once

#include "PFTypes.h"

typedef A_long AEGP_PluginID;
typedef struct _AEGP_MemHandle* AEGP_MemHandle;
typedef struct _AEGP_LayerH* AEGP_LayerH;
typedef struct _AEGP_CompH* AEGP_CompH;
typedef struct _AEGP_ItemH* AEGP_ItemH;
typedef struct _AEGP_EffectRefH* AEGP_EffectRefH;
typedef A_u_long AEGP_MemSize;
typedef A_long AEGP_MemFlag;

#define kAEGPPFInterfaceSuite "AEGP PF Interface Suite"
#define kAEGPPFInterfaceSuiteVersion1 1
#define kAEGPLayerSuite "AEGP Layer Suite"
#define kAEGPLayerSuiteVersion5 11
#define kAEGPItemSuite "AEGP Item Suite"
#define kAEGPItemSuiteVersion6 10
#define kAEGPUtilitySuite "AEGP Utility Suite"
#define kAEGPUtilitySuiteVersion5 11
#define kAEGPMemorySuite "AEGP Memory Suite"
#define kAEGPMemorySuiteVersion1 1

struct AEGP_PFInterfaceSuite1 {
    A_Err (*AEGP_GetEffectLayer)(PF_ProgPtr effect_ref, AEGP_LayerH* layerPH);
    A_Err (*AEGP_GetNewEffectForEffect)(AEGP_PluginID id, PF_ProgPtr effect_ref, AEGP_EffectRefH* effectPH);
    A_Err (*AEGP_ConvertEffectToCompTime)(PF_ProgPtr effect_ref, A_long what_time, A_u_long time_scale,
                                          void* comp_timePT);
};

struct AEGP_LayerSuite5 {
    A_Err (*AEGP_GetCompNumLayers)(AEGP_CompH compH, A_long* num_layersPL);
    A_Err (*AEGP_GetCompLayerByIndex)(AEGP_CompH compH, A_long layer_indexL, AEGP_LayerH* layerPH);
    A_Err (*AEGP_GetLayerParentComp)(AEGP_LayerH layerH, AEGP_CompH* compPH);
};

struct AEGP_ItemSuite6 {
    A_Err (*AEGP_GetFirstProjItem)(void* projectH, AEGP_ItemH* itemPH);
    A_Err (*AEGP_GetNextProjItem)(void* projectH, AEGP_ItemH itemH, AEGP_ItemH* next_itemPH);
    A_Err (*AEGP_GetItemDimensions)(AEGP_ItemH itemH, A_long* widthPL, A_long* heightPL);
};

struct AEGP_UtilitySuite5 {
    A_Err (*AEGP_ReportInfo)(AEGP_PluginID id, const A_char* info_string);
    A_Err (*AEGP_ExecuteScript)(AEGP_PluginID id, const A_char* utf8_scriptZ,
                                const A_Boolean platform_encodingB, AEGP_MemHandle* resultPH,
                                AEGP_MemHandle* error_stringPH);
};

struct AEGP_MemorySuite1 {
    A_Err (*AEGP_NewMemHandle)(AEGP_PluginID id, const A_char* whatZ, AEGP_MemSize size, AEGP_MemFlag flags,
                               AEGP_MemHandle* memPH);
    A_Err (*AEGP_FreeMemHandle)(AEGP_MemHandle memH);
    A_Err (*AEGP_LockMemHandle)(AEGP_MemHandle memH, void** ptr_to_ptr);
    A_Err (*AEGP_UnlockMemHandle)(AEGP_MemHandle memH);
    A_Err (*AEGP_GetMemHandleSize)(AEGP_MemHandle memH, AEGP_MemSize* sizeP);
};
