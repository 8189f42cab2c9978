#include "ImageSource.h"

#include <algorithm>

#include "Console.h"
#include "ImageReader.h"
#include "JobError.h"

namespace fxhost {

namespace {

std::string depthName(const ImageHeader& header) {
    return header.type == "uint16" ? "16-bit" : header.type == "half" ? "half-float" : header.type;
}

// --strict-depth: an input deeper than the 8-bit worlds is an image error, not a warning.
void refuseDeep(const std::string& path, const ImageHeader& header) {
    if (!header.eightBit()) {
        throw JobError(JobError::kImage,
                       "'" + path + "' is " + depthName(header) +
                           "; the effect renders in 8 bits, and --strict-depth refuses to lose the rest");
    }
}

}  // namespace

ImageSource::ImageSource(const std::string& input, const SourceOptions& options)
    : mInput(input), mPattern(input), mOptions(options) {}

FrameList ImageSource::frames() const {
    if (!mPattern.isSequence()) return FrameList({0});
    FrameList found = imageStep([&] { return mPattern.existingFrames(); });
    if (found.empty()) throw JobError(JobError::kImage, "no frames of '" + mInput + "' found");
    return found;
}

void ImageSource::check(const std::vector<int>& frames) const {
    if (!mOptions.strictDepth) return;
    // Every header first, so that a deep frame late in the list is refused before any is written.
    for (int frame : frames) {
        imageStep([&] { refuseDeep(name(frame), ImageReader(name(frame)).header()); });
    }
}

void ImageSource::read(int frame, FrameSlot& slot, double& convertSeconds) {
    const std::string path = name(frame);
    imageStep([&] {
        ImageReader reader(path);
        const int largest = mOptions.maxTextureSize;
        if (largest > 0 && std::max(reader.width(), reader.height()) > largest) {
            throw JobError(JobError::kImage,
                           "'" + path + "' is " + std::to_string(reader.width()) + "x" +
                               std::to_string(reader.height()) +
                               ", too large for this GL implementation: its largest texture is " +
                               std::to_string(largest) +
                               " pixels a side (a GPU whose GL takes larger textures can render it)");
        }
        if (mOptions.strictDepth) refuseDeep(path, reader.header());
        HostWorld::ensure(slot.input, reader.width(), reader.height());
        slot.header = reader.header();
        slot.loss = reader.read(*slot.input, slot.extra);
        convertSeconds += reader.convertSeconds();
        if (slot.loss.outOfRange && mOptions.strictDepth) {
            throw JobError(JobError::kImage,
                           "'" + path +
                               "' holds values outside 0 to 1; the effect renders in 8 bits, "
                               "and --strict-depth refuses to clip them");
        }
    });
    if (slot.loss.deeper) {
        Console::warnOnce("the input is " + depthName(slot.header) +
                          ", but the effect renders in 8 bits: what it renders holds 8-bit steps, whatever "
                          "the output's depth (--strict-depth refuses such inputs)");
    }
    if (slot.loss.outOfRange) {
        Console::warnOnce("the input holds values outside 0 to 1 (first seen in '" + path +
                          "'); the effect renders in 8 bits, so they come back clipped to 0 to 1");
    }
}

}  // namespace fxhost
