// Host drawing API: the four suites a custom UI would draw with, fetched together.
#pragma once

#include "PFTypes.h"

typedef struct _DRAWBOT_DrawRef* DRAWBOT_DrawRef;
typedef struct _DRAWBOT_SupplierRef* DRAWBOT_SupplierRef;
typedef struct _DRAWBOT_SurfaceRef* DRAWBOT_SurfaceRef;
typedef struct _DRAWBOT_PathRef* DRAWBOT_PathRef;

#define kDRAWBOT_DrawSuite "DRAWBOT Draw Suite"
#define kDRAWBOT_DrawSuite_Version1 1
#define kDRAWBOT_SupplierSuite "DRAWBOT Supplier Suite"
#define kDRAWBOT_SupplierSuite_Version1 1
#define kDRAWBOT_SurfaceSuite "DRAWBOT Surface Suite"
#define kDRAWBOT_SurfaceSuite_Version2 2
#define kDRAWBOT_PathSuite "DRAWBOT Path Suite"
#define kDRAWBOT_PathSuite_Version1 1

struct DRAWBOT_DrawbotSuite1 {
    A_Err (*GetSupplier)(DRAWBOT_DrawRef drawRef, DRAWBOT_SupplierRef* supplierRef);
    A_Err (*GetSurface)(DRAWBOT_DrawRef drawRef, DRAWBOT_SurfaceRef* surfaceRef);
};
struct DRAWBOT_SupplierSuite1 {
    A_Err (*NewPath)(DRAWBOT_SupplierRef supplierRef, DRAWBOT_PathRef* pathRef);
};
struct DRAWBOT_SurfaceSuite2 {
    A_Err (*Flush)(DRAWBOT_SurfaceRef surfaceRef);
};
struct DRAWBOT_PathSuite1 {
    A_Err (*MoveTo)(DRAWBOT_PathRef pathRef, float x, float y);
    A_Err (*LineTo)(DRAWBOT_PathRef pathRef, float x, float y);
};

struct DRAWBOT_Suites {
    DRAWBOT_DrawbotSuite1* drawbot_suiteP;
    DRAWBOT_SupplierSuite1* supplier_suiteP;
    DRAWBOT_SurfaceSuite2* surface_suiteP;
    DRAWBOT_PathSuite1* path_suiteP;
};
