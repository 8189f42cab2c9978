#include "AlignedBuffer.h"

#include <cstring>
#include <new>

namespace fxhost {

uint8_t* AlignedBuffer::reserve(size_t bytes) {
    if (bytes <= mSize && mData) return mData.get();
    mData.reset();
    mSize = 0;
    const size_t size = stride(bytes == 0 ? 1 : bytes);
    void* memory = std::aligned_alloc(kAlignment, size);
    if (!memory) throw std::bad_alloc();
    std::memset(memory, 0, size);
    mData.reset(static_cast<uint8_t*>(memory));
    mSize = size;
    return mData.get();
}

}  // namespace fxhost
