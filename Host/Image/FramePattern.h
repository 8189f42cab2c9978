// A file name that may name a sequence: a printf-style %d, %04d, or a run of
// '#' (one digit each) stands for the frame number. A name without one is a
// single file, whatever the frame.
#pragma once

#include <string>

namespace fxhost {

class FramePattern {
public:
    explicit FramePattern(const std::string& pattern);

    bool isSequence() const { return mWidth >= 0; }
    std::string name(int frame) const;

    // "FIRST-LAST" or "FRAME"; throws std::invalid_argument when malformed or reversed.
    static void parseRange(const std::string& text, int& first, int& last);

private:
    std::string mBefore;
    std::string mAfter;
    int mWidth = -1;  // digits to pad to; -1 when the name has no frame number
};

}  // namespace fxhost
