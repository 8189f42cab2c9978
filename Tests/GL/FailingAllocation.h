// The test program's operator new fails the next allocation of exactly this many bytes on the
// calling thread (the throwing forms throw std::bad_alloc, the nothrow forms give null); 0 for none.
#pragma once

#include <cstddef>

extern thread_local std::size_t tFailAllocationOfSize;
