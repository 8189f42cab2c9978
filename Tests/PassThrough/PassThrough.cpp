// An effect that copies its input to its output unchanged, through the same smart-render calls the
// shipped effect makes but without GL, so that what a render costs beyond the effect is the host's
// own work. Built for the tests and benchmarks only; never installed.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "PFSmartRender.h"
#include "OstrivaneRendererSuite.h"
#include "PFTypes.h"
#include "SPBasic.h"

namespace {

PF_Err About(PF_OutData* out) {
    std::snprintf(out->return_msg, sizeof out->return_msg, "Pass Through v1.0\rPass Through");
    return PF_Err_NONE;
}

PF_Err PreRender(PF_InData* in, PF_PreRenderExtra* extra) {
    if (!extra || !extra->input || !extra->output || !extra->cb) return PF_Err_BAD_CALLBACK_PARAM;
    PF_RenderRequest request = extra->input->output_request;
    PF_CheckoutResult result{};
    if (const PF_Err err = extra->cb->checkout_layer(in->effect_ref, 0, 0, &request, in->current_time,
                                                     in->time_step, in->time_scale, &result)) {
        return err;
    }
    extra->output->result_rect = result.result_rect;
    extra->output->max_result_rect = result.max_result_rect;
    return PF_Err_NONE;
}

PF_Err Render(PF_InData* in, PF_SmartRenderExtra* extra) {
    if (!extra || !extra->cb) return PF_Err_BAD_CALLBACK_PARAM;
    PF_EffectWorld* input = nullptr;
    PF_EffectWorld* output = nullptr;
    if (const PF_Err err = extra->cb->checkout_layer_pixels(in->effect_ref, 0, &input)) return err;
    if (const PF_Err err = extra->cb->checkout_output(in->effect_ref, &output)) return err;
    if (!input || !output || input->width != output->width || input->height != output->height) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    // 8-bit worlds only (no deep-colour flag is declared): 4 bytes a pixel.
    const size_t row = static_cast<size_t>(input->width) * 4;
    const char* from = static_cast<const char*>(static_cast<const void*>(input->data));
    char* to = static_cast<char*>(static_cast<void*>(output->data));
    for (A_long y = 0; y < input->height; ++y) {
        std::memcpy(to + static_cast<size_t>(y) * output->rowbytes,
                    from + static_cast<size_t>(y) * input->rowbytes, row);
    }
    return extra->cb->checkin_layer_pixels(in->effect_ref, 0);
}

// It copies without GL either way, so it offers both renderers and takes whichever the host picks.
// Built with PASS_THROUGH_GL_ONLY it never asks, as an effect with a GL pass alone.
PF_Err GlobalSetup(PF_InData* in, PF_OutData* out) {
    out->out_flags = 0;
    out->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;
#ifdef PASS_THROUGH_GL_ONLY
    return PF_Err_NONE;
#endif
    const void* table = nullptr;
    if (in->pica_basicP &&
        in->pica_basicP->AcquireSuite(kOstrivaneRendererSuite, kOstrivaneRendererSuiteVersion1, &table) == 0 && table) {
        A_long chosen = 0;
        const A_Err err = static_cast<const OstrivaneRendererSuite1*>(table)->ChooseRenderer(
            in->effect_ref, kOstrivaneRenderer_GL | kOstrivaneRenderer_CPU, &chosen);
        in->pica_basicP->ReleaseSuite(kOstrivaneRendererSuite, kOstrivaneRendererSuiteVersion1);
        return err;
    }
    return PF_Err_NONE;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in,
                                                                        PF_OutData* out, PF_ParamDef**,
                                                                        PF_LayerDef*, void* extra) {
    if (!in || !out) return PF_Err_BAD_CALLBACK_PARAM;
    switch (cmd) {
        case PF_Cmd_ABOUT:
            return About(out);
        case PF_Cmd_GLOBAL_SETUP:
            return GlobalSetup(in, out);
        case PF_Cmd_PARAMS_SETUP:
            out->num_params = 1;
            return PF_Err_NONE;
        case PF_Cmd_SMART_PRE_RENDER:
            return PreRender(in, static_cast<PF_PreRenderExtra*>(extra));
        case PF_Cmd_SMART_RENDER:
            return Render(in, static_cast<PF_SmartRenderExtra*>(extra));
        default:
            return PF_Err_NONE;
    }
}
