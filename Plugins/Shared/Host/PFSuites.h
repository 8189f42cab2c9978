// Host effect API: the PF suites the system acquires by name and version.
#pragma once

#include "PFTypes.h"

#define kPFANSISuite "PF ANSI Suite"
#define kPFANSISuiteVersion1 1
#define kPFIterateFloatSuite "PF iterateFloat Suite"
#define kPFIterateFloatSuiteVersion1 1
#define kPFHandleSuite "PF Handle Suite"
#define kPFHandleSuiteVersion1 2

struct PF_ANSICallbacksSuite1 {
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

typedef PF_Err (*PF_IteratePixelFloatFunc)(void* refcon, A_long x, A_long y, PF_PixelFloat* in,
                                           PF_PixelFloat* out);

struct PF_iterateFloatSuite1 {
    PF_Err (*iterate)(PF_InData* in_data, A_long progress_base, A_long progress_final, PF_EffectWorld* src,
                      const PF_Rect* area, void* refcon, PF_IteratePixelFloatFunc pix_fn,
                      PF_EffectWorld* dst);
};

struct PF_HandleSuite1 {
    PF_Handle (*host_new_handle)(A_HandleSize size);
    void* (*host_lock_handle)(PF_Handle pf_handle);
    void (*host_unlock_handle)(PF_Handle pf_handle);
    void (*host_dispose_handle)(PF_Handle pf_handle);
    A_HandleSize (*host_get_handle_size)(PF_Handle pf_handle);
    PF_Err (*host_resize_handle)(A_HandleSize new_sizeL, PF_Handle* handlePH);
};
