// Where frames come from: one image file, a numbered image sequence, or (by its container's
// extension) a movie. A frame is asked for by its number: a sequence's own, a movie's from 1 as
// FFmpeg numbers the images it writes, 0 for a single image. Any order works; ascending is what
// every source is fast at. An ordered source (a movie) is read one frame at a time; the others may
// read several frames at once, from as many threads. Failures throw JobError with the program's
// exit statuses, naming the file (and, in a movie, the frame).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FrameList.h"
#include "FrameSlot.h"
#include "MovieReader.h"

namespace fxhost {

struct SourceOptions {
    bool strictDepth = false;  // refuse (exit 3) what the 8-bit worlds cannot hold, rather than warn
    int maxTextureSize = 0;    // the GL implementation's largest texture; 0 when unknown
};

class FrameSource {
public:
    enum class Kind { Image, Sequence, Movie };

    // INPUT by its name: a movie by its extension (MovieFile), a pattern with a frame number a
    // sequence, anything else one image. A movie goes on with `opened` where that reads INPUT.
    static std::unique_ptr<FrameSource> open(const std::string& input, const SourceOptions& options = {},
                                             std::unique_ptr<MovieReader> opened = nullptr);

    virtual ~FrameSource() = default;
    virtual Kind kind() const = 0;
    virtual bool ordered() const = 0;
    // The frames there are, ascending: those of a sequence found on disk (gaps and all), {0} for
    // an image. Throws (exit 3) when a sequence has none.
    virtual FrameList frames() const = 0;
    // The file, or the movie and frame, as messages name them.
    virtual std::string name(int frame) const = 0;
    // Before anything is written: refuses what the options forbid in any of `frames` that can be
    // told without decoding (under --strict-depth, a deep file by its header).
    virtual void check(const std::vector<int>& frames) const = 0;
    // Decodes the frame into slot.input (made anew only when the size differs), and fills the
    // slot's header, channels after the fourth and depth loss.
    virtual void read(int frame, FrameSlot& slot, double& convertSeconds) = 0;
};

}  // namespace fxhost
