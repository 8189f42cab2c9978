#include "PlaneRing.h"

namespace fxhost {

void PlaneRing::reset(int width, int height, unsigned lines) {
    mMask = zimg_select_buffer_mask(lines);
    const size_t rows = mMask == ZIMG_BUFFER_MAX ? static_cast<size_t>(height) : static_cast<size_t>(mMask) + 1;
    mStride = AlignedBuffer::stride(static_cast<size_t>(width));
    mPlaneBytes = mStride * rows;
    mMemory.reserve(4 * mPlaneBytes);
}

namespace {

// zimg's read-only and writable buffers differ only in the constness of their pointers.
template <typename Buffer>
Buffer ringBuffer(const PlaneRing& ring, size_t stride, unsigned mask) {
    Buffer buffer{};
    buffer.version = ZIMG_API_VERSION;
    for (int p = 0; p < 4; ++p) {
        buffer.plane[p].data = ring.row(p, 0);
        buffer.plane[p].stride = static_cast<ptrdiff_t>(stride);
        buffer.plane[p].mask = mask;
    }
    return buffer;
}

}  // namespace

zimg_image_buffer PlaneRing::buffer() const { return ringBuffer<zimg_image_buffer>(*this, mStride, mMask); }

zimg_image_buffer_const PlaneRing::constBuffer() const {
    return ringBuffer<zimg_image_buffer_const>(*this, mStride, mMask);
}

}  // namespace fxhost
