#include "FaultPlan.h"

namespace fxhost {

const char* callbackName(Callback callback) {
    switch (callback) {
        case Callback::AddParam:
            return "add_param";
        case Callback::CheckoutLayer:
            return "checkout_layer";
        case Callback::CheckoutLayerPixels:
            return "checkout_layer_pixels";
        case Callback::CheckoutOutput:
            return "checkout_output";
        case Callback::CheckoutParam:
            return "checkout_param";
        case Callback::CheckinParam:
            return "checkin_param";
        case Callback::Iterate:
            return "iterate";
        case Callback::NewHandle:
            return "host_new_handle";
        case Callback::ResizeHandle:
            return "host_resize_handle";
        case Callback::NewMemHandle:
            return "AEGP_NewMemHandle";
        case Callback::AllocateBlock:
            return "SPBasic AllocateBlock";
    }
    return "?";
}

}  // namespace fxhost
