// Host effect API: the PF suites the system acquires by name and version.
#pragma once

#include "PFTypes.h"

#define kPFANSISuite "PF ANSI Suite"
#define kPFANSISuiteVersion1 1
#define kPFIterateFloatSuite "PF iterateFloat Suite"
#define kPFIterateFloatSuiteVersion1 1
#define kPFHandleSuite "PF Handle Suite"
#define kPFHandleSuiteVersion1 2

// The suite is the same table of C library functions as PF_UtilCallbacks::ansi.
typedef PF_ANSICallbacks PF_ANSICallbacksSuite1;

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
