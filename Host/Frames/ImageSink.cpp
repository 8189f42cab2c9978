#include "ImageSink.h"

#include "JobError.h"

namespace fxhost {

void ImageSink::encode(FrameSlot& slot, double& convertSeconds) {
    imageStep([&] {
        ImageWriter::encode(name(slot.frame), slot.header, *slot.output, slot.extra, mOptions, &convertSeconds);
    });
}

void ImageSink::commit(FrameSlot& slot) {
    imageStep([&] { ImageWriter::commit(name(slot.frame)); });
}

void ImageSink::discard(FrameSlot& slot) { ImageWriter::discard(name(slot.frame)); }

}  // namespace fxhost
