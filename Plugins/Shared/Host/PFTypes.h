// Host effect API: basic types, error codes, commands, flags and the records
// that pass through EntryPointFunc. Declared by us from what the effect and
// the stand-in host use; names and values are the host API's own.
#pragma once

#include <cstdint>

typedef int32_t A_long;
typedef uint32_t A_u_long;
typedef int16_t A_short;
typedef uint16_t A_u_short;
typedef char A_char;
typedef uint8_t A_u_char;
typedef uint8_t A_Boolean;
typedef int32_t A_Err;
typedef double PF_FpLong;
typedef float PF_FpShort;
typedef int32_t PF_Fixed;
typedef int32_t PF_Err;
typedef int32_t PF_Cmd;
typedef int32_t PF_ParamIndex;
typedef int32_t PF_ParamType;
typedef int32_t PF_ParamFlags;
typedef int32_t PF_ParamUIFlags;
typedef int32_t PF_OutFlags;
typedef int32_t PF_OutFlags2;
typedef int32_t PF_InFlags;
typedef int32_t PF_WorldFlags;
typedef int32_t PF_Quality;
typedef int32_t PF_Field;
typedef int32_t PF_PixelFormat;
typedef uint64_t A_HandleSize;
typedef void** PF_Handle;
typedef struct _PF_ProgressInfo* PF_ProgPtr;
typedef void* PF_PixelPtr;

enum {
    A_Err_NONE = 0,
    A_Err_MISSING_SUITE = 13,
};

enum {
    PF_Err_NONE = 0,
    PF_Err_OUT_OF_MEMORY = 4,
    PF_Err_INTERNAL_STRUCT_DAMAGED = 512,
    PF_Err_INVALID_INDEX = 513,
    PF_Err_UNRECOGNIZED_PARAM_TYPE = 514,
    PF_Err_INVALID_CALLBACK = 515,
    PF_Err_BAD_CALLBACK_PARAM = 516,
    PF_Interrupt_CANCEL = 517,
    PF_Err_CANNOT_PARSE_KEYFRAME_TEXT = 518,
};

enum {
    PF_Cmd_ABOUT = 0,
    PF_Cmd_GLOBAL_SETUP = 1,
    PF_Cmd_UNUSED_0 = 2,
    PF_Cmd_GLOBAL_SETDOWN = 3,
    PF_Cmd_PARAMS_SETUP = 4,
    PF_Cmd_SEQUENCE_SETUP = 5,
    PF_Cmd_SEQUENCE_RESETUP = 6,
    PF_Cmd_SEQUENCE_FLATTEN = 7,
    PF_Cmd_SEQUENCE_SETDOWN = 8,
    PF_Cmd_DO_DIALOG = 9,
    PF_Cmd_FRAME_SETUP = 10,
    PF_Cmd_RENDER = 11,
    PF_Cmd_FRAME_SETDOWN = 12,
    PF_Cmd_USER_CHANGED_PARAM = 13,
    PF_Cmd_UPDATE_PARAMS_UI = 14,
    PF_Cmd_EVENT = 15,
    PF_Cmd_GET_EXTERNAL_DEPENDENCIES = 16,
    PF_Cmd_COMPLETELY_GENERAL = 17,
    PF_Cmd_QUERY_DYNAMIC_FLAGS = 18,
    PF_Cmd_AUDIO_RENDER = 19,
    PF_Cmd_AUDIO_SETUP = 20,
    PF_Cmd_AUDIO_SETDOWN = 21,
    PF_Cmd_ARBITRARY_CALLBACK = 22,
    PF_Cmd_SMART_PRE_RENDER = 23,
    PF_Cmd_SMART_RENDER = 24,
};

enum {
    PF_OutFlag_NONE = 0,
    PF_OutFlag_KEEP_RESOURCE_OPEN = 1 << 0,
    PF_OutFlag_WIDE_TIME_INPUT = 1 << 1,
    PF_OutFlag_NON_PARAM_VARY = 1 << 2,
    PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING = 1 << 4,
    PF_OutFlag_I_DO_DIALOG = 1 << 5,
    PF_OutFlag_USE_OUTPUT_EXTENT = 1 << 6,
    PF_OutFlag_SEND_DO_DIALOG = 1 << 7,
    PF_OutFlag_DISPLAY_ERROR_MESSAGE = 1 << 8,
    PF_OutFlag_I_EXPAND_BUFFER = 1 << 9,
    PF_OutFlag_PIX_INDEPENDENT = 1 << 10,
    PF_OutFlag_I_WRITE_INPUT_BUFFER = 1 << 11,
    PF_OutFlag_I_SHRINK_BUFFER = 1 << 12,
    PF_OutFlag_WORKS_IN_PLACE = 1 << 13,
    PF_OutFlag_CUSTOM_UI = 1 << 15,
    PF_OutFlag_REFRESH_UI = 1 << 17,
    PF_OutFlag_NOP_RENDER = 1 << 18,
    PF_OutFlag_I_USE_SHUTTER_ANGLE = 1 << 19,
    PF_OutFlag_I_USE_AUDIO = 1 << 20,
    PF_OutFlag_I_AM_OBSOLETE = 1 << 21,
    PF_OutFlag_FORCE_RERENDER = 1 << 22,
    PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS = 1 << 23,
    PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES = 1 << 24,
    PF_OutFlag_DEEP_COLOR_AWARE = 1 << 25,
    PF_OutFlag_SEND_UPDATE_PARAMS_UI = 1 << 26,
    PF_OutFlag_AUDIO_FLOAT_ONLY = 1 << 27,
    PF_OutFlag_AUDIO_IIR = 1 << 28,
    PF_OutFlag_I_SYNTHESIZE_AUDIO = 1 << 29,
    PF_OutFlag_AUDIO_EFFECT_TOO = 1 << 30,
};

enum {
    PF_OutFlag2_NONE = 0,
    PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS = 1 << 0,
    PF_OutFlag2_I_USE_3D_CAMERA = 1 << 1,
    PF_OutFlag2_I_USE_3D_LIGHTS = 1 << 2,
    PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG = 1 << 3,
    PF_OutFlag2_I_AM_THREADSAFE = 1 << 4,
    PF_OutFlag2_CAN_COMBINE_WITH_DESTINATION = 1 << 5,
    PF_OutFlag2_DOESNT_NEED_EMPTY_PIXELS = 1 << 6,
    PF_OutFlag2_REVEALS_ZERO_ALPHA = 1 << 7,
    PF_OutFlag2_PRESERVES_FULLY_OPAQUE_PIXELS = 1 << 8,
    PF_OutFlag2_SUPPORTS_SMART_RENDER = 1 << 10,
    PF_OutFlag2_FLOAT_COLOR_AWARE = 1 << 12,
    PF_OutFlag2_I_USE_COLORSPACE_ENUMERATION = 1 << 13,
    PF_OutFlag2_I_AM_DEPRECATED = 1 << 14,
    PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER = 1 << 15,
    PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT = 1 << 17,
    PF_OutFlag2_I_USE_TIMECODE = 1 << 18,
    PF_OutFlag2_DEPENDS_ON_UNREFERENCED_MASKS = 1 << 19,
    PF_OutFlag2_OUTPUT_IS_WATERMARKED = 1 << 20,
    PF_OutFlag2_I_MIX_GUID_DEPENDENCIES = 1 << 21,
    PF_OutFlag2_SUPPORTS_THREADED_RENDERING = 1 << 27,
};

// Parameter types in use.
enum {
    PF_Param_LAYER = 0,
    PF_Param_SLIDER = 1,
    PF_Param_FIX_SLIDER = 2,
    PF_Param_ANGLE = 3,
    PF_Param_CHECKBOX = 4,
    PF_Param_COLOR = 5,
    PF_Param_POINT = 6,
    PF_Param_POPUP = 7,
    PF_Param_NO_DATA = 9,
    PF_Param_FLOAT_SLIDER = 10,
};

// World flags; the stand-in host marks 16-bit worlds DEEP.
enum {
    PF_WorldFlag_DEEP = 1 << 0,
    PF_WorldFlag_WRITEABLE = 1 << 1,
};

// Pixel formats of a world, four characters packed little-endian.
enum {
    PF_PixelFormat_ARGB32 = 0x62677261,   // 'argb': 8 bits a channel
    PF_PixelFormat_ARGB64 = 0x36316561,   // 'ae16': 16 bits a channel, white at 32768
    PF_PixelFormat_ARGB128 = 0x32336561,  // 'ae32': 32-bit float a channel
    PF_PixelFormat_INVALID = 0x444c4f42,
};

enum { PF_MAX_CHAN8 = 255, PF_MAX_CHAN16 = 32768 };
enum {
    PF_MAX_EFFECT_MSG_LEN = 255,
    PF_MAX_EFFECT_NAME_LEN = 31,
    PF_MAX_PARAM_NAME_LEN = 31,
    PF_MAX_PARAM_DESCRIPTION_LEN = 31
};

struct PF_Pixel8 {
    A_u_char alpha, red, green, blue;
};
struct PF_Pixel16 {
    A_u_short alpha, red, green, blue;
};
struct PF_PixelFloat {
    PF_FpShort alpha, red, green, blue;
};

struct PF_Point {
    A_long h, v;
};
struct PF_LRect {
    A_long left, top, right, bottom;
};
typedef PF_LRect PF_Rect;
typedef PF_LRect PF_UnionableRect;
struct PF_RationalScale {
    A_long num;
    A_u_long den;
};

// A host image ("world"): width by height pixels, rows rowbytes apart, channels A, R, G, B.
struct PF_LayerDef {
    void* reserved0;
    void* reserved1;
    PF_WorldFlags world_flags;
    PF_PixelPtr data;
    A_long rowbytes;
    A_long width;
    A_long height;
    PF_UnionableRect extent_hint;
    void* platform_ref;
    A_long reserved_long1;
    void* reserved_long4;
    PF_RationalScale pix_aspect_ratio;
    void* reserved_long2;
    A_long origin_x;
    A_long origin_y;
    A_long reserved_long3;
    A_long dephault;
};
typedef PF_LayerDef PF_EffectWorld;

struct PF_SliderDef {
    A_long value;
    A_char value_str[PF_MAX_PARAM_DESCRIPTION_LEN + 1];
    A_char value_desc[PF_MAX_PARAM_DESCRIPTION_LEN + 1];
    A_long valid_min, valid_max;
    A_long slider_min, slider_max;
    A_long dephault;
};

struct PF_FloatSliderDef {
    PF_FpLong value;
    PF_FpLong phase;
    A_char value_desc[PF_MAX_PARAM_DESCRIPTION_LEN + 1];
    PF_FpShort valid_min, valid_max;
    PF_FpShort slider_min, slider_max;
    PF_FpShort dephault;
    A_short precision;
    A_short display_flags;
    A_long fs_flags;
    PF_FpShort curve_tolerance;
};

union PF_ParamDefUnion {
    PF_LayerDef ld;
    PF_SliderDef sd;
    PF_FloatSliderDef fs_d;
};

struct PF_ParamDef {
    union {
        A_long id;
        A_long change_flag;
    } uu;
    PF_ParamUIFlags ui_flags;
    A_short ui_width;
    A_short ui_height;
    PF_ParamType param_type;
    A_char name[PF_MAX_PARAM_NAME_LEN + 1];
    PF_ParamFlags flags;
    A_long unused;
    PF_ParamDefUnion u;
};
typedef PF_ParamDef* PF_ParamDefPtr;
typedef PF_ParamDef** PF_ParamList;

struct PF_InteractCallbacks {
    PF_Err (*checkout_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long what_time, A_long time_step,
                             A_u_long time_scale, PF_ParamDef* param);
    PF_Err (*checkin_param)(PF_ProgPtr effect_ref, PF_ParamDef* param);
    PF_Err (*add_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, PF_ParamDefPtr def);
    PF_Err (*abort)(PF_ProgPtr effect_ref);
    PF_Err (*progress)(PF_ProgPtr effect_ref, A_long current, A_long total);
};

struct PF_ANSICallbacks {
    double (*atan)(double);
    double (*atan2)(double, double);
    double (*ceil)(double);
    double (*cos)(double);
    double (*exp)(double);
    double (*fabs)(double);
    double (*floor)(double);
    double (*fmod)(double, double);
    double (*hypot)(double, double);
    double (*log)(double);
    double (*log10)(double);
    double (*pow)(double, double);
    double (*sin)(double);
    double (*sqrt)(double);
    double (*tan)(double);
    int (*sprintf)(A_char*, const A_char*, ...);
    A_char* (*strcpy)(A_char*, const A_char*);
    double (*asin)(double);
    double (*acos)(double);
};

struct PF_UtilCallbacks {
    PF_ANSICallbacks ansi;
    PF_Err (*get_pixel_data8)(PF_EffectWorld* world, PF_PixelPtr pixels, PF_Pixel8** pixPP);
    PF_Err (*get_pixel_data16)(PF_EffectWorld* world, PF_PixelPtr pixels, PF_Pixel16** pixPP);
};

struct SPBasicSuite;

struct PF_InData {
    PF_InteractCallbacks inter;
    PF_UtilCallbacks* utils;
    PF_ProgPtr effect_ref;
    PF_Quality quality;
    A_long version;
    A_long serial_num;
    A_long appl_id;
    A_long num_params;
    A_long reserved;
    A_long what_cpu;
    A_long what_fpu;
    A_long current_time;
    A_long time_step;
    A_long total_time;
    A_long local_time_step;
    A_u_long time_scale;
    PF_Field field;
    PF_Fixed shutter_angle;
    A_long width;
    A_long height;
    PF_Rect extent_hint;
    A_long output_origin_x;
    A_long output_origin_y;
    PF_RationalScale downsample_x;
    PF_RationalScale downsample_y;
    PF_RationalScale pixel_aspect_ratio;
    PF_InFlags in_flags;
    PF_Handle global_data;
    PF_Handle sequence_data;
    PF_Handle frame_data;
    SPBasicSuite* pica_basicP;
    A_long pre_effect_source_origin_x;
    A_long pre_effect_source_origin_y;
    PF_Fixed shutter_phase;
};

struct PF_OutData {
    A_u_long my_version;
    A_char name[PF_MAX_EFFECT_NAME_LEN + 1];
    PF_Handle global_data;
    A_long num_params;
    PF_Handle sequence_data;
    A_long flat_sdata_size;
    PF_Handle frame_data;
    A_long width;
    A_long height;
    PF_Point origin;
    PF_OutFlags out_flags;
    A_char return_msg[PF_MAX_EFFECT_MSG_LEN + 1];
    A_long start_sampL;
    A_long dur_sampL;
    PF_OutFlags2 out_flags2;
};

// The one function a bundle exports.
typedef PF_Err (*PF_EntryPointFunc)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamList params,
                                    PF_LayerDef* output, void* extra);

// Packs a version the way the host reads my_version.
#define PF_VERSION(vers, subvers, bugvers, stage, build)                                                \
    ((((vers)&0x7f) << 19) | (((subvers)&0xf) << 15) | (((bugvers)&0xf) << 11) | (((stage)&0x3) << 9) | \
     ((build)&0x1ff))
