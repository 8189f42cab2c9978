// Makes the Nth allocation of one loaded object (a bundle) fail, for the validator's child process:
// operator new, called from that object's own code, throws std::bad_alloc (the nothrow forms give
// null); every other allocation, the host's, the GL driver's and the C++ library's, goes through.
// Allocations are counted from arm(); disarmed, nothing is counted and nothing fails.
#pragma once

namespace fxhost {

class AllocationFaults {
public:
    // The object whose allocations count: the one whose code holds `address` (its entry point).
    // Gives false when no loaded object holds it.
    static bool watch(const void* address);
    // Counts from zero; the `failing`th allocation (1 is the next) fails. 0 only counts.
    static void arm(long failing);
    static void disarm();
    // Allocations counted since arm(), and whether the chosen one was refused.
    static long counted();
    static bool refused();
};

}  // namespace fxhost
