// Faults the stand-in host injects on purpose: suites it pretends not to have,
// and callbacks that fail with a chosen code on a chosen call.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "PFTypes.h"

namespace fxhost {

enum class Callback {
    AddParam,
    CheckoutLayer,
    CheckoutLayerPixels,
    CheckoutOutput,
    CheckoutParam,
    CheckinParam,
    Iterate,
    NewHandle,      // host_new_handle answers null; the code is unused
    ResizeHandle,   // host_resize_handle answers PF_Err_OUT_OF_MEMORY, the handle as it was
    NewMemHandle,   // the memory suite's AEGP_NewMemHandle answers PF_Err_OUT_OF_MEMORY, no handle
    AllocateBlock,  // the basic suite's AllocateBlock and ReallocateBlock: the same, no block
};

// Every callback above, in order: the ones that hand out memory are the last four.
constexpr Callback kAllCallbacks[] = {
    Callback::AddParam,       Callback::CheckoutLayer, Callback::CheckoutLayerPixels,
    Callback::CheckoutOutput, Callback::CheckoutParam, Callback::CheckinParam,
    Callback::Iterate,        Callback::NewHandle,     Callback::ResizeHandle,
    Callback::NewMemHandle,   Callback::AllocateBlock};

const char* callbackName(Callback callback);

struct Fault {
    Callback callback;
    PF_Err code = PF_Err_INTERNAL_STRUCT_DAMAGED;
    int onCall = 0;       // 1-based call number of this callback; 0 fails every call
    int paramIndex = -1;  // CheckoutParam only: fail for this index only; -1 for any
};

struct FaultPlan {
    std::set<std::string> missingSuites;    // AcquireSuite fails for these names
    std::set<std::string> nullTableSuites;  // AcquireSuite reports success with a null table
    std::vector<Fault> faults;
    bool nullInputWorld = false;  // checkout_layer_pixels succeeds but hands back no world

    void clear() { *this = FaultPlan(); }
};

}  // namespace fxhost
