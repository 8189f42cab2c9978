#include "HueAndSaturation.h"

#include <cstring>
#include <new>

#include "PFSmartRender.h"
#include "PFSuites.h"
#include "RectHelpers.h"
#include "SuiteScoper.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

constexpr const char* kEffectName = "Ostrivane Hue And Saturation";
constexpr int kMajorVersion = 1;
constexpr int kMinorVersion = 0;
constexpr int kBugVersion = 0;
constexpr int kStageVersion = 0;
constexpr int kBuildVersion = 1;

enum { kHueValueId = 1, kSaturationId = 2, kNumParams = 3 };

PF_Err About(PF_InData* in_data, PF_OutData* out_data) {
  SuiteScoper<PF_ANSICallbacksSuite1> ansi(in_data, kPFANSISuite, kPFANSISuiteVersion1, nullptr, nullptr);
  ansi->sprintf(out_data->return_msg, "%s v%d.%d\r%s", kEffectName, kMajorVersion, kMinorVersion, kEffectName);
  return PF_Err_NONE;
}

PF_Err GlobalSetup(PF_InData*, PF_OutData* out_data) {
  out_data->my_version = PF_VERSION(kMajorVersion, kMinorVersion, kBugVersion, kStageVersion, kBuildVersion);
  out_data->out_flags = 0;
  out_data->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;
  return PF_Err_NONE;
}

PF_Err AddFloatSlider(PF_InData* in_data, const char* name, PF_FpShort validMax, PF_FpLong value, A_short precision,
                      A_long id) {
  PF_ParamDef def;
  std::memset(&def, 0, sizeof def);
  def.param_type = PF_Param_FLOAT_SLIDER;
  in_data->utils->ansi.strcpy(def.name, name);
  def.u.fs_d.valid_min = 0.0f;
  def.u.fs_d.valid_max = validMax;
  def.u.fs_d.slider_min = 0.0f;
  def.u.fs_d.slider_max = validMax;
  def.u.fs_d.value = value;
  def.u.fs_d.dephault = static_cast<PF_FpShort>(value);
  def.u.fs_d.precision = precision;
  def.u.fs_d.display_flags = 0;
  def.u.fs_d.curve_tolerance = 0.05f;
  def.uu.id = id;
  return in_data->inter.add_param(in_data->effect_ref, -1, &def);
}

PF_Err ParamsSetup(PF_InData* in_data, PF_OutData* out_data) {
  out_data->num_params = kNumParams;
  if (const PF_Err err = AddFloatSlider(in_data, "Hue Value", 360.0f, 0.0, 1, kHueValueId)) {
    return err;
  }
  return AddFloatSlider(in_data, "Saturation", 2.0f, 1.0, 2, kSaturationId);
}

PF_Err SmartPreRender(PF_InData* in_data, PF_PreRenderExtra* extra) {
  if (!extra || !extra->input || !extra->output || !extra->cb) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  PF_RenderRequest request = extra->input->output_request;
  PF_CheckoutResult result;
  std::memset(&result, 0, sizeof result);
  // A failed checkout leaves result unfilled: merging it would hand the host garbage rectangles.
  if (const PF_Err err = extra->cb->checkout_layer(in_data->effect_ref, 0, 0, &request, in_data->current_time,
                                                   in_data->time_step, in_data->time_scale, &result)) {
    return err;
  }
  UnionRect(&result.result_rect, &extra->output->result_rect);
  UnionRect(&result.max_result_rect, &extra->output->max_result_rect);
  return PF_Err_NONE;
}

PF_Err Dispatch(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, void* extra) {
  switch (cmd) {
    case PF_Cmd_ABOUT: return About(in_data, out_data);
    case PF_Cmd_GLOBAL_SETUP: return GlobalSetup(in_data, out_data);
    case PF_Cmd_GLOBAL_SETDOWN: return PF_Err_NONE;
    case PF_Cmd_PARAMS_SETUP: return ParamsSetup(in_data, out_data);
    case PF_Cmd_SMART_PRE_RENDER: return SmartPreRender(in_data, static_cast<PF_PreRenderExtra*>(extra));
    case PF_Cmd_SMART_RENDER: return PF_Err_NONE;
    default: return PF_Err_NONE;
  }
}

}  // namespace

}  // namespace GaussianBlur
}  // namespace Ostrivane

PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef**, PF_LayerDef*,
                      void* extra) {
  using namespace Ostrivane::GaussianBlur;
  // Nothing may unwind into the host: it is not C++ and would be taken down with us.
  try {
    return Dispatch(cmd, in_data, out_data, extra);
  } catch (int) {
    return PF_Err_BAD_CALLBACK_PARAM;
  } catch (const std::bad_alloc&) {
    return PF_Err_OUT_OF_MEMORY;
  } catch (...) {
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
}
