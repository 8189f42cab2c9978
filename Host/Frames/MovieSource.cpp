#include "MovieSource.h"

#include <algorithm>
#include <numeric>

#include "Console.h"
#include "JobError.h"

namespace fxhost {

MovieSource::MovieSource(const std::string& input, const SourceOptions& options, std::unique_ptr<MovieReader> opened)
    : mReader(opened && opened->path() == input ? std::move(opened) : std::make_unique<MovieReader>(input)),
      mOptions(options) {
    mHeader.width = mReader->width();
    mHeader.height = mReader->height();
    mHeader.channels = mReader->hasAlpha() ? 4 : 3;
    mHeader.alphaChannel = mReader->hasAlpha() ? 3 : -1;
    const int largest = options.maxTextureSize;
    if (largest > 0 && std::max(mReader->width(), mReader->height()) > largest) {
        throw JobError(JobError::kImage, "'" + input + "' is " + std::to_string(mReader->width()) + "x" +
                                             std::to_string(mReader->height()) +
                                             ", too large for this GL implementation: its largest texture is " +
                                             std::to_string(largest) + " pixels a side");
    }
}

FrameList MovieSource::frames() const {
    std::vector<int> all(static_cast<size_t>(mReader->frameCount()));
    std::iota(all.begin(), all.end(), 1);
    return FrameList(std::move(all));
}

std::string MovieSource::name(int frame) const {
    return "'" + mReader->path() + "' frame " + std::to_string(frame);
}

void MovieSource::check(const std::vector<int>& frames) const {
    for (int frame : frames) {
        if (frame < 1 || frame > mReader->frameCount()) {
            throw JobError(JobError::kUsage, "'" + mReader->path() + "' has " +
                                                 std::to_string(mReader->frameCount()) +
                                                 " frames (1 to " + std::to_string(mReader->frameCount()) +
                                                 "), not frame " + std::to_string(frame));
        }
    }
    if (mOptions.strictDepth && mReader->bitDepth() > 8) {
        throw JobError(JobError::kImage, "'" + mReader->path() + "' is " + std::to_string(mReader->bitDepth()) +
                                             "-bit; the effect renders in 8 bits, and --strict-depth refuses "
                                             "to lose the rest");
    }
    if (!frames.empty()) mReader->checkIntact(*std::max_element(frames.begin(), frames.end()));
}

void MovieSource::read(int frame, FrameSlot& slot, double& convertSeconds) {
    if (mReader->bitDepth() > 8) {
        Console::warnOnce("the input is " + std::to_string(mReader->bitDepth()) +
                          "-bit, but the effect renders in 8 bits: its frames come back in 8-bit steps "
                          "(--strict-depth refuses such inputs)");
    }
    HostWorld::ensure(slot.input, mReader->width(), mReader->height());
    mReader->read(frame, *slot.input, &convertSeconds);
    slot.header = mHeader;
    slot.extra.clear();
    slot.loss = DepthLoss();
    slot.pts = mReader->pts(frame);
}

}  // namespace fxhost
