#include "HueAndSaturation.h"

#include <algorithm>
#include <cstring>
#include <new>

#include <glbinding/gl/gl.h>

#include "AEGPSuites.h"
#include "AEOpenGLContextManager.h"
#include "AEOpenGLUtilities.h"
#include "AEOpenglMainFrameBuffer.h"
#include "HueAndSaturationCPURender.h"
#include "HueAndSaturationRender.h"
#include "OstrivaneRendererSuite.h"
#include "PFSmartRender.h"
#include "PFSuites.h"
#include "RectHelpers.h"
#include "SaveRestoreGLContextEGL.h"
#include "SuiteScoper.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

constexpr const char* kEffectName = "Ostrivane Hue And Saturation";
// The effect's own version, which hosts check it against: 1.0, whatever the version of the
// programs and package that carry it.
constexpr int kMajorVersion = 1;
constexpr int kMinorVersion = 0;
constexpr int kBugVersion = 0;
constexpr int kStageVersion = 0;
constexpr int kBuildVersion = 1;

enum { kHueValueId = 1, kSaturationId = 2, kNumParams = 3 };

// The effect's one pass, built when the bundle loads: its constructor makes no GL call.
HueAndSaturationRender* mWarpRender = new HueAndSaturationRender;

// Set-down frees the pass; a set-up or a frame later in the same load builds a new one.
HueAndSaturationRender* WarpRender() {
    if (!mWarpRender) {
        mWarpRender = new HueAndSaturationRender;
    }
    return mWarpRender;
}

// Which renderer this load uses, as the host chose in set-up; GL where the host never said.
bool mCPURendering = false;

// Offers both renderers to a host that serves the renderer suite. A host without it keeps the GL
// pass; a host that answers with an error fails the set-up with that code.
void ChooseRenderer(PF_InData* in_data) {
    mCPURendering = false;
    const void* table = nullptr;
    SPBasicSuite* basic = in_data->pica_basicP;
    if (!basic || basic->AcquireSuite(kOstrivaneRendererSuite, kOstrivaneRendererSuiteVersion1, &table) != 0) {
        return;
    }
    if (!table) {
        return;
    }
    const auto* suite = static_cast<const OstrivaneRendererSuite1*>(table);
    A_long chosen = kOstrivaneRenderer_GL;
    const A_Err err = suite->ChooseRenderer(in_data->effect_ref, kOstrivaneRenderer_GL | kOstrivaneRenderer_CPU, &chosen);
    basic->ReleaseSuite(kOstrivaneRendererSuite, kOstrivaneRendererSuiteVersion1);
    if (err) {
        throw static_cast<int>(err);
    }
    mCPURendering = chosen == kOstrivaneRenderer_CPU;
}

PF_Err About(PF_InData* in_data, PF_OutData* out_data) {
    SuiteScoper<PF_ANSICallbacksSuite1> ansi(in_data, kPFANSISuite, kPFANSISuiteVersion1, nullptr, nullptr);
    // A host may report success with a null table: that is a missing suite too.
    if (!ansi.get()) {
        throw static_cast<int>(A_Err_MISSING_SUITE);
    }
    ansi->sprintf(out_data->return_msg, "%s v%d.%d\r%s", kEffectName, kMajorVersion, kMinorVersion,
                  kEffectName);
    return PF_Err_NONE;
}

PF_Err GlobalSetup(PF_InData* in_data, PF_OutData* out_data) {
    out_data->my_version =
        PF_VERSION(kMajorVersion, kMinorVersion, kBugVersion, kStageVersion, kBuildVersion);
    out_data->out_flags = 0;
    out_data->out_flags2 = PF_OutFlag2_SUPPORTS_SMART_RENDER;

    ChooseRenderer(in_data);
    if (mCPURendering) {
        // No context, no EGL: the CPU renderer needs nothing from GL.
        return PF_Err_NONE;
    }

    // The bracket's destructor puts the host's context back on the exception path too.
    SaveRestoreGLContextEGL saved;
    AEOpenGLContextManager::setupContextManager();
    WarpRender();
    saved.restore();
    return PF_Err_NONE;
}

PF_Err GlobalSetdown() {
    if (mCPURendering) {
        mCPURendering = false;
        return PF_Err_NONE;
    }
    SaveRestoreGLContextEGL saved;
    // Without a set-up there is no shared data context; this thread's context then holds
    // whatever the frames made.
    AEOpenGLContext* context = AEOpenGLContextManager::getSharedDataContext();
    if (!context) {
        context = AEOpenGLContextManager::getCurrentRenderContext();
    }
    context->makeContextCurrent();
    AEOpenglMainFrameBuffer::mainFrameBuffer()->destory();
    if (mWarpRender) {
        delete mWarpRender;
        mWarpRender = nullptr;
    }
    // The host's context first: the restore flushes the outgoing context, which must still exist.
    saved.restore();
    AEOpenGLContextManager::releaseContextManager();
    return PF_Err_NONE;
}

PF_Err AddFloatSlider(PF_InData* in_data, const char* name, PF_FpShort validMax, PF_FpLong value,
                      A_short precision, A_long id) {
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
    if (const PF_Err err =
            extra->cb->checkout_layer(in_data->effect_ref, 0, 0, &request, in_data->current_time,
                                      in_data->time_step, in_data->time_scale, &result)) {
        return err;
    }
    UnionRect(&result.result_rect, &extra->output->result_rect);
    UnionRect(&result.max_result_rect, &extra->output->max_result_rect);
    return PF_Err_NONE;
}

// Reads one parameter into record at the frame's time; the first failure is kept in err.
void CheckoutParam(PF_InData* in_data, PF_ParamIndex index, PF_ParamDef& record, PF_Err& err) {
    const PF_Err checkout = in_data->inter.checkout_param(in_data->effect_ref, index, in_data->current_time,
                                                          in_data->time_step, in_data->time_scale, &record);
    if (!err) err = checkout;
}

void CheckinParam(PF_InData* in_data, PF_ParamDef& record, PF_Err& err) {
    const PF_Err checkin = in_data->inter.checkin_param(in_data->effect_ref, &record);
    if (!err) err = checkin;
}

// The largest width or height the current context can upload, draw and read back.
A_long LargestFrameSide() {
    gl::GLint texture = 0, renderbuffer = 0;
    gl::glGetIntegerv(gl::GL_MAX_TEXTURE_SIZE, &texture);
    gl::glGetIntegerv(gl::GL_MAX_RENDERBUFFER_SIZE, &renderbuffer);
    return std::min(texture, renderbuffer);
}

// The CPU road of a frame: the same suites and parameter reads as the GL road, in the same order
// and with the same first-error rule, then the CPU renderer straight from world to world.
PF_Err SmartRenderCPU(PF_InData* in_data, PF_LayerDef* input, PF_LayerDef* output) {
    // The renderer writes as many rows and columns as the input has; a smaller output cannot take them.
    if (output->width < input->width || output->height < input->height) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    SuiteScoper<AEGP_PFInterfaceSuite1> interfaceSuite(in_data, kAEGPPFInterfaceSuite,
                                                       kAEGPPFInterfaceSuiteVersion1, nullptr, nullptr);
    SuiteScoper<AEGP_LayerSuite5> layerSuite(in_data, kAEGPLayerSuite, kAEGPLayerSuiteVersion5, nullptr, nullptr);
    SuiteScoper<AEGP_ItemSuite6> itemSuite(in_data, kAEGPItemSuite, kAEGPItemSuiteVersion6, nullptr, nullptr);
    PF_Err err = PF_Err_NONE;
    PF_ParamDef record;
    std::memset(&record, 0, sizeof record);
    HueAndSaturationCPURender pass;
    CheckoutParam(in_data, kHueValueId, record, err);
    pass.setHue(static_cast<float>(record.u.fs_d.value));
    CheckinParam(in_data, record, err);
    CheckoutParam(in_data, kSaturationId, record, err);
    pass.setSaturation(static_cast<float>(record.u.fs_d.value));
    CheckinParam(in_data, record, err);
    pass.render(*input, *output);
    return err;
}

PF_Err SmartRender(PF_InData* in_data, PF_SmartRenderExtra* extra) {
    if (!extra || !extra->cb) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    PF_LayerDef* input = nullptr;
    PF_LayerDef* output = nullptr;
    if (const PF_Err err = extra->cb->checkout_layer_pixels(in_data->effect_ref, 0, &input)) {
        return err;
    }
    if (const PF_Err err = extra->cb->checkout_output(in_data->effect_ref, &output)) {
        return err;
    }
    // An empty layer or a missing output is refused before GL is touched; the output stays as it was.
    if (!input || !output || input->width < 0 || input->height < 0) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (mCPURendering) {
        return SmartRenderCPU(in_data, input, output);
    }
    float multiplier16bit = 1.0f;
    unsigned long pixelSize = 4;
    gl::GLenum pixelType = gl::GL_UNSIGNED_BYTE;

    SaveRestoreGLContextEGL saved;
    AEOpenglMainFrameBuffer* frameBuffer = AEOpenglMainFrameBuffer::mainFrameBuffer();
    bool drawing = false;
    try {
        AEOpenGLContextManager::getCurrentRenderContext()->makeContextCurrent();
        const A_long width = input->width;
        const A_long height = input->height;
        // A frame larger than the driver's textures and renderbuffers would draw nothing and
        // read back zeros with success; the host gets an error instead, its output untouched.
        // An output of such a size cannot be a frame of ours either, whatever its rows claim.
        const A_long largest = LargestFrameSide();
        if (width > largest || height > largest || output->width > largest || output->height > largest) {
            throw static_cast<int>(PF_Err_OUT_OF_MEMORY);
        }
        frameBuffer->prepare(width, height, true);
        drawing = true;
        frameBuffer->beginDrawing();

        SuiteScoper<AEGP_PFInterfaceSuite1> interfaceSuite(in_data, kAEGPPFInterfaceSuite,
                                                           kAEGPPFInterfaceSuiteVersion1, nullptr, nullptr);
        SuiteScoper<AEGP_LayerSuite5> layerSuite(in_data, kAEGPLayerSuite, kAEGPLayerSuiteVersion5, nullptr,
                                                 nullptr);
        SuiteScoper<AEGP_ItemSuite6> itemSuite(in_data, kAEGPItemSuite, kAEGPItemSuiteVersion6, nullptr,
                                               nullptr);

        // First error wins, and none of them stops the frame: each parameter is read whatever
        // became of the other, so a failed hue still draws with the host's saturation.
        PF_Err err = PF_Err_NONE;
        PF_ParamDef record;
        std::memset(&record, 0, sizeof record);
        CheckoutParam(in_data, kHueValueId, record, err);
        HueAndSaturationRender* pass = WarpRender();
        pass->setHue(static_cast<float>(record.u.fs_d.value));
        CheckinParam(in_data, record, err);
        CheckoutParam(in_data, kSaturationId, record, err);
        pass->setSaturation(static_cast<float>(record.u.fs_d.value));
        CheckinParam(in_data, record, err);

        const unsigned int texture = AEOpenGLUtilities::UploadTexture(
            PF_PixelFormat_ARGB32, input, output, in_data, pixelSize, pixelType, multiplier16bit, false);
        pass->draw(texture, multiplier16bit);
        gl::glDeleteTextures(1, &texture);
        frameBuffer->endDrawing(multiplier16bit);
        drawing = false;
        AEOpenGLUtilities::DownloadTexture(static_cast<unsigned int>(width),
                                           static_cast<unsigned int>(height), input, output, in_data,
                                           PF_PixelFormat_ARGB32, pixelSize, pixelType);
        saved.restore();
        return err;
    } catch (...) {
        // No level of this frame may stay pushed for the next one to draw on top of.
        if (drawing) {
            frameBuffer->clearStack();
        }
        throw;
    }
}

PF_Err Dispatch(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, void* extra) {
    const bool known = cmd == PF_Cmd_ABOUT || cmd == PF_Cmd_GLOBAL_SETUP || cmd == PF_Cmd_GLOBAL_SETDOWN ||
                       cmd == PF_Cmd_PARAMS_SETUP || cmd == PF_Cmd_SMART_PRE_RENDER ||
                       cmd == PF_Cmd_SMART_RENDER;
    if (known && (!in_data || !out_data)) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    switch (cmd) {
        case PF_Cmd_ABOUT:
            return About(in_data, out_data);
        case PF_Cmd_GLOBAL_SETUP:
            return GlobalSetup(in_data, out_data);
        case PF_Cmd_GLOBAL_SETDOWN:
            return GlobalSetdown();
        case PF_Cmd_PARAMS_SETUP:
            return ParamsSetup(in_data, out_data);
        case PF_Cmd_SMART_PRE_RENDER:
            return SmartPreRender(in_data, static_cast<PF_PreRenderExtra*>(extra));
        case PF_Cmd_SMART_RENDER:
            return SmartRender(in_data, static_cast<PF_SmartRenderExtra*>(extra));
        default:
            return PF_Err_NONE;
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
