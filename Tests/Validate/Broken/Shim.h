// A deliberately broken bundle for the validator's tests: the shipped effect, whose entry point
// is compiled here as GoodEntryPointFunc, with one fault added around it by the file that
// includes this. Built for the tests only; never shipped, never installed.
#pragma once

#include "PFSmartRender.h"
#include "PFTypes.h"

extern "C" PF_Err GoodEntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                     PF_ParamDef** params, PF_LayerDef* output, void* extra);

#define SHIM_ENTRY_POINT                                                                                 \
    extern "C" __attribute__((visibility("default"))) PF_Err EntryPointFunc(                             \
        PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params, PF_LayerDef* output, \
        void* extra)

// A fault made after every frame that succeeds: the file that includes this gives the body of
// afterFrame, which sees the frame's in_data and extra.
#define SHIM_AFTER_EACH_FRAME                                                                      \
    static void afterFrame(PF_InData* in_data, void* extra);                                       \
    SHIM_ENTRY_POINT {                                                                             \
        const PF_Err err = GoodEntryPointFunc(cmd, in_data, out_data, params, output, extra);      \
        if (cmd == PF_Cmd_SMART_RENDER && err == PF_Err_NONE) afterFrame(in_data, extra);          \
        return err;                                                                                \
    }                                                                                              \
    static void afterFrame([[maybe_unused]] PF_InData* in_data, [[maybe_unused]] void* extra)

// The output world of a smart frame, as the effect checks it out; null if it cannot be had.
inline PF_LayerDef* shimOutput(PF_InData* in_data, void* extra) {
    auto* smart = static_cast<PF_SmartRenderExtra*>(extra);
    PF_LayerDef* output = nullptr;
    if (!in_data || !smart || !smart->cb || smart->cb->checkout_output(in_data->effect_ref, &output))
        return nullptr;
    return output;
}
