#include "EffectInfo.h"

#include <cstdio>
#include <stdexcept>
#include <utility>
#include <vector>

namespace fxhost {

namespace {

std::string joinNames(A_long flags, const std::vector<std::pair<A_long, const char*>>& table) {
    std::string text;
    A_long known = 0;
    for (const auto& entry : table) {
        known |= entry.first;
        if (flags & entry.first) {
            text += (text.empty() ? "" : " | ") + std::string(entry.second);
        }
    }
    if (flags & ~known) {
        char rest[32];
        std::snprintf(rest, sizeof rest, "0x%x", static_cast<unsigned>(flags & ~known));
        text += (text.empty() ? "" : " | ") + std::string(rest);
    }
    return text.empty() ? "none" : text;
}

std::string number(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

void require(PF_Err err, const char* command) {
    if (err) throw std::runtime_error(std::string(command) + " failed: " + errorName(err));
}

}  // namespace

std::string outFlagNames(PF_OutFlags flags) {
    return joinNames(
        flags, {{PF_OutFlag_KEEP_RESOURCE_OPEN, "PF_OutFlag_KEEP_RESOURCE_OPEN"},
                {PF_OutFlag_WIDE_TIME_INPUT, "PF_OutFlag_WIDE_TIME_INPUT"},
                {PF_OutFlag_NON_PARAM_VARY, "PF_OutFlag_NON_PARAM_VARY"},
                {PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING, "PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING"},
                {PF_OutFlag_I_DO_DIALOG, "PF_OutFlag_I_DO_DIALOG"},
                {PF_OutFlag_USE_OUTPUT_EXTENT, "PF_OutFlag_USE_OUTPUT_EXTENT"},
                {PF_OutFlag_SEND_DO_DIALOG, "PF_OutFlag_SEND_DO_DIALOG"},
                {PF_OutFlag_DISPLAY_ERROR_MESSAGE, "PF_OutFlag_DISPLAY_ERROR_MESSAGE"},
                {PF_OutFlag_I_EXPAND_BUFFER, "PF_OutFlag_I_EXPAND_BUFFER"},
                {PF_OutFlag_PIX_INDEPENDENT, "PF_OutFlag_PIX_INDEPENDENT"},
                {PF_OutFlag_I_WRITE_INPUT_BUFFER, "PF_OutFlag_I_WRITE_INPUT_BUFFER"},
                {PF_OutFlag_I_SHRINK_BUFFER, "PF_OutFlag_I_SHRINK_BUFFER"},
                {PF_OutFlag_WORKS_IN_PLACE, "PF_OutFlag_WORKS_IN_PLACE"},
                {PF_OutFlag_CUSTOM_UI, "PF_OutFlag_CUSTOM_UI"},
                {PF_OutFlag_REFRESH_UI, "PF_OutFlag_REFRESH_UI"},
                {PF_OutFlag_NOP_RENDER, "PF_OutFlag_NOP_RENDER"},
                {PF_OutFlag_I_USE_SHUTTER_ANGLE, "PF_OutFlag_I_USE_SHUTTER_ANGLE"},
                {PF_OutFlag_I_USE_AUDIO, "PF_OutFlag_I_USE_AUDIO"},
                {PF_OutFlag_I_AM_OBSOLETE, "PF_OutFlag_I_AM_OBSOLETE"},
                {PF_OutFlag_FORCE_RERENDER, "PF_OutFlag_FORCE_RERENDER"},
                {PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS, "PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS"},
                {PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES, "PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES"},
                {PF_OutFlag_DEEP_COLOR_AWARE, "PF_OutFlag_DEEP_COLOR_AWARE"},
                {PF_OutFlag_SEND_UPDATE_PARAMS_UI, "PF_OutFlag_SEND_UPDATE_PARAMS_UI"},
                {PF_OutFlag_AUDIO_FLOAT_ONLY, "PF_OutFlag_AUDIO_FLOAT_ONLY"},
                {PF_OutFlag_AUDIO_IIR, "PF_OutFlag_AUDIO_IIR"},
                {PF_OutFlag_I_SYNTHESIZE_AUDIO, "PF_OutFlag_I_SYNTHESIZE_AUDIO"},
                {PF_OutFlag_AUDIO_EFFECT_TOO, "PF_OutFlag_AUDIO_EFFECT_TOO"}});
}

std::string outFlag2Names(PF_OutFlags2 flags) {
    return joinNames(
        flags,
        {{PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS, "PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS"},
         {PF_OutFlag2_I_USE_3D_CAMERA, "PF_OutFlag2_I_USE_3D_CAMERA"},
         {PF_OutFlag2_I_USE_3D_LIGHTS, "PF_OutFlag2_I_USE_3D_LIGHTS"},
         {PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG, "PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG"},
         {PF_OutFlag2_I_AM_THREADSAFE, "PF_OutFlag2_I_AM_THREADSAFE"},
         {PF_OutFlag2_CAN_COMBINE_WITH_DESTINATION, "PF_OutFlag2_CAN_COMBINE_WITH_DESTINATION"},
         {PF_OutFlag2_DOESNT_NEED_EMPTY_PIXELS, "PF_OutFlag2_DOESNT_NEED_EMPTY_PIXELS"},
         {PF_OutFlag2_REVEALS_ZERO_ALPHA, "PF_OutFlag2_REVEALS_ZERO_ALPHA"},
         {PF_OutFlag2_PRESERVES_FULLY_OPAQUE_PIXELS, "PF_OutFlag2_PRESERVES_FULLY_OPAQUE_PIXELS"},
         {PF_OutFlag2_SUPPORTS_SMART_RENDER, "PF_OutFlag2_SUPPORTS_SMART_RENDER"},
         {PF_OutFlag2_FLOAT_COLOR_AWARE, "PF_OutFlag2_FLOAT_COLOR_AWARE"},
         {PF_OutFlag2_I_USE_COLORSPACE_ENUMERATION, "PF_OutFlag2_I_USE_COLORSPACE_ENUMERATION"},
         {PF_OutFlag2_I_AM_DEPRECATED, "PF_OutFlag2_I_AM_DEPRECATED"},
         {PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER,
          "PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER"},
         {PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT, "PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT"},
         {PF_OutFlag2_I_USE_TIMECODE, "PF_OutFlag2_I_USE_TIMECODE"},
         {PF_OutFlag2_DEPENDS_ON_UNREFERENCED_MASKS, "PF_OutFlag2_DEPENDS_ON_UNREFERENCED_MASKS"},
         {PF_OutFlag2_OUTPUT_IS_WATERMARKED, "PF_OutFlag2_OUTPUT_IS_WATERMARKED"},
         {PF_OutFlag2_I_MIX_GUID_DEPENDENCIES, "PF_OutFlag2_I_MIX_GUID_DEPENDENCIES"},
         {PF_OutFlag2_SUPPORTS_THREADED_RENDERING, "PF_OutFlag2_SUPPORTS_THREADED_RENDERING"}});
}

std::string versionText(A_u_long packed) {
    static const char* const kStages[] = {"develop", "alpha", "beta", "release"};
    char text[96];
    std::snprintf(text, sizeof text, "%u.%u.%u (%s, build %u)", (packed >> 19) & 0x7f, (packed >> 15) & 0xf,
                  (packed >> 11) & 0xf, kStages[(packed >> 9) & 0x3], packed & 0x1ff);
    return text;
}

std::string describeEffect(EffectHost& host, const std::string& hostName) {
    require(host.about(), "PF_Cmd_ABOUT");
    std::string about = host.outData().return_msg;
    for (char& c : about) {
        if (c == '\r') c = '\n';
    }
    require(host.globalSetup(), "PF_Cmd_GLOBAL_SETUP");
    require(host.paramsSetup(), "PF_Cmd_PARAMS_SETUP");
    const PF_OutData& out = host.outData();

    std::string text = about + "\n\n";
    // The effect's version is its own, not the host's: both are named so that neither is taken
    // for the other.
    text += "Version:    " + versionText(out.my_version) + ", as the effect declares it\n";
    text += "Host:       " + hostName + "\n";
    text += "out_flags:  " + outFlagNames(out.out_flags) + "\n";
    text += "out_flags2: " + outFlag2Names(out.out_flags2) + "\n";
    text += "Renderer:   " + std::string(rendererName(host.renderer())) + " (" + host.rendererReason() + ")\n";
    text += "Parameters: " + std::to_string(out.num_params) + "\n";
    const auto& params = host.params();
    for (size_t i = 0; i < params.size(); ++i) {
        const PF_ParamDef& p = params[i];
        char line[256];
        if (p.param_type == PF_Param_FLOAT_SLIDER) {
            const PF_FloatSliderDef& f = p.u.fs_d;
            std::snprintf(
                line, sizeof line,
                "  %zu  %-12s float slider  valid %s to %s  slider %s to %s  default %s  precision %d\n", i,
                p.name, number(f.valid_min).c_str(), number(f.valid_max).c_str(),
                number(f.slider_min).c_str(), number(f.slider_max).c_str(), number(f.dephault).c_str(),
                f.precision);
        } else if (p.param_type == PF_Param_LAYER) {
            std::snprintf(line, sizeof line, "  %zu  %-12s layer\n", i, p.name);
        } else {
            std::snprintf(line, sizeof line, "  %zu  %-12s type %d\n", i, p.name, p.param_type);
        }
        text += line;
    }
    return text;
}

}  // namespace fxhost
