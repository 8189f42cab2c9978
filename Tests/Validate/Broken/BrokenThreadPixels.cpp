// Fault: a frame rendered on any thread but the first to render comes out with one pixel changed.
#include <mutex>
#include <thread>

#include "Shim.h"

SHIM_AFTER_EACH_FRAME {
    static std::mutex mutex;
    static std::thread::id first;
    std::lock_guard<std::mutex> lock(mutex);
    if (first == std::thread::id()) first = std::this_thread::get_id();
    PF_LayerDef* out = shimOutput(in_data, extra);
    if (first != std::this_thread::get_id() && out && out->data && out->width > 0 && out->height > 0) {
        static_cast<unsigned char*>(out->data)[1] ^= 0x40;  // the red of the first pixel
    }
}
