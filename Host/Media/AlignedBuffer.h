// Memory aligned to 64 bytes, as zimg's vector code wants its planes and scratch space; zeroed
// when it grows, kept when asked for no more than it holds. Throws std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace fxhost {

class AlignedBuffer {
public:
    static constexpr size_t kAlignment = 64;

    // At least `bytes` bytes; the old contents go when it has to grow.
    uint8_t* reserve(size_t bytes);
    uint8_t* data() const { return mData.get(); }
    size_t size() const { return mSize; }

    // `bytes` rounded up to a whole number of alignment steps: a row stride zimg takes.
    static size_t stride(size_t bytes) { return (bytes + kAlignment - 1) / kAlignment * kAlignment; }

private:
    struct Free {
        void operator()(uint8_t* p) const { std::free(p); }
    };
    std::unique_ptr<uint8_t, Free> mData;
    size_t mSize = 0;
};

}  // namespace fxhost
