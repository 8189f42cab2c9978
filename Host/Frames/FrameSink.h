// Where rendered frames go: one image file, a numbered image sequence, or (by its container's
// extension) a movie. encode() writes a frame under a temporary name, commit() puts it in place
// (a movie: counts it as written), discard() drops it; finish() completes the output after the
// last frame, abandon() removes whatever is unfinished. An ordered sink takes its frames one at a
// time in list order; the others take several at once. Failures throw JobError.
#pragma once

#include <memory>
#include <string>

#include "FrameSlot.h"
#include "ImageWriter.h"
#include "MovieOptions.h"

namespace fxhost {

struct SinkOptions {
    WriteOptions write;
    MovieOptions movie;
    std::string sourceMovie;  // the movie the frames come from, "" for images
    int sourceStream = -1;    // its video stream
};

class FrameSink {
public:
    static std::unique_ptr<FrameSink> open(const std::string& output, const SinkOptions& options);

    virtual ~FrameSink() = default;
    virtual bool ordered() const = 0;
    // The file a frame goes to, as messages name it.
    virtual std::string name(int frame) const = 0;
    virtual void encode(FrameSlot& slot, double& convertSeconds) = 0;
    virtual void commit(FrameSlot& slot) = 0;
    virtual void discard(FrameSlot& slot) = 0;
    virtual void finish() = 0;
    virtual void abandon() = 0;
};

}  // namespace fxhost
