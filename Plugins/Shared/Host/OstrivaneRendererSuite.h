// Our addition to the host API: a host that can say how an effect should render serves this suite.
// An effect with more than one renderer acquires it during PF_Cmd_GLOBAL_SETUP, before it makes any
// GL object, offers the renderers it has and renders the rest of the load with the one chosen. A
// host without the suite, or an effect that never asks, gets the effect's GL pass as before.
#pragma once

#include "PFTypes.h"

#define kOstrivaneRendererSuite "Ostrivane Renderer Suite"
#define kOstrivaneRendererSuiteVersion1 1

// Bits of the masks below.
enum {
    kOstrivaneRenderer_GL = 1,   // the effect's GL pass on the host's GL device
    kOstrivaneRenderer_CPU = 2,  // the effect's own CPU renderer: no GL context is made at all
};

struct OstrivaneRendererSuite1 {
    // `offered`: a mask of the renderers the effect has. On success `*chosen` is one bit of it, the
    // renderer the effect uses until set-down. A non-zero result leaves `*chosen` unwritten; the
    // effect then fails its set-up with that code.
    A_Err (*ChooseRenderer)(PF_ProgPtr effect_ref, A_long offered, A_long* chosen);
};
