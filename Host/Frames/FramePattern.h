// A file name that may name a sequence: a printf-style %d, %04d, or a run of
// '#' (one digit each) stands for the frame number. A name without one is a
// single file, whatever the frame.
#pragma once

#include <string>

#include "FrameList.h"

namespace fxhost {

class FramePattern {
public:
    explicit FramePattern(const std::string& pattern);

    bool isSequence() const { return mWidth >= 0; }
    std::string name(int frame) const;

    // The frames whose file exists, found by listing the pattern's folder; throws
    // std::runtime_error when the folder can't be listed.
    FrameList existingFrames() const;

private:
    std::string mBefore;
    std::string mAfter;
    int mWidth = -1;  // digits to pad to; -1 when the name has no frame number
};

}  // namespace fxhost
