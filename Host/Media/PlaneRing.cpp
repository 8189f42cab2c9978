#include "PlaneRing.h"

namespace fxhost {

void PlaneRing::reset(int width, int height, unsigned lines) {
    mMask = zimg_select_buffer_mask(lines);
    const size_t rows = mMask == ZIMG_BUFFER_MAX ? static_cast<size_t>(height) : static_cast<size_t>(mMask) + 1;
    mStride = AlignedBuffer::stride(static_cast<size_t>(width));
    mPlaneBytes = mStride * rows;
    mMemory.reserve(4 * mPlaneBytes);
}

zimg_image_buffer PlaneRing::buffer() const {
    zimg_image_buffer buffer{};
    buffer.version = ZIMG_API_VERSION;
    for (int p = 0; p < 4; ++p) {
        buffer.plane[p].data = row(p, 0);
        buffer.plane[p].stride = static_cast<ptrdiff_t>(mStride);
        buffer.plane[p].mask = mMask;
    }
    return buffer;
}

zimg_image_buffer_const PlaneRing::constBuffer() const {
    zimg_image_buffer_const buffer{};
    buffer.version = ZIMG_API_VERSION;
    for (int p = 0; p < 4; ++p) {
        buffer.plane[p].data = row(p, 0);
        buffer.plane[p].stride = static_cast<ptrdiff_t>(mStride);
        buffer.plane[p].mask = mMask;
    }
    return buffer;
}

}  // namespace fxhost
