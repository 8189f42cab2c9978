// Fault: the entry point lets its own failures out: an allocation of its own that fails escapes as
// std::bad_alloc, and a frame the effect could not allocate for becomes an exception of no standard type.
#include <memory>
#include <string>

#include "Shim.h"

namespace {
struct OutOfMemory {};
}  // namespace

SHIM_ENTRY_POINT {
    // A record of the command, allocated outside any catch.
    const std::unique_ptr<PF_Cmd> record(new PF_Cmd(cmd));
    const PF_Err err = GoodEntryPointFunc(*record, in_data, out_data, params, output, extra);
    if (err == PF_Err_OUT_OF_MEMORY) throw OutOfMemory{};
    return err;
}
