#include "MovieSink.h"

#include "JobError.h"

namespace fxhost {

void MovieSink::encode(FrameSlot& slot, double&) {
    if (!mWriter) {
        mWriter = std::make_unique<MovieWriter>(mOutput, slot.output->width(), slot.output->height(),
                                                slot.header.channels >= 4, mOptions.sourceMovie,
                                                mOptions.sourceStream, mOptions.movie);
    }
    const int64_t pts = mOptions.sourceMovie.empty() ? slot.position : slot.pts;
    imageStep([&] { mWriter->write(*slot.output, pts); });
}

void MovieSink::finish() {
    if (mWriter) imageStep([&] { mWriter->finish(); });
}

}  // namespace fxhost
