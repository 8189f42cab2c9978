#include "FramePattern.h"

#include <cstdio>
#include <regex>
#include <stdexcept>

namespace fxhost {

FramePattern::FramePattern(const std::string& pattern) {
    std::smatch match;
    static const std::regex kPrintf("%(0?([0-9]*))d");
    static const std::regex kHashes("#+");
    if (std::regex_search(pattern, match, kPrintf)) {
        mWidth = match[2].length() ? std::stoi(match[2].str()) : 0;
    } else if (std::regex_search(pattern, match, kHashes)) {
        mWidth = static_cast<int>(match.length(0));
    } else {
        mBefore = pattern;
        return;
    }
    mBefore = match.prefix().str();
    mAfter = match.suffix().str();
}

std::string FramePattern::name(int frame) const {
    if (!isSequence()) return mBefore;
    char digits[32];
    std::snprintf(digits, sizeof digits, "%0*d", mWidth, frame);
    return mBefore + digits + mAfter;
}

void FramePattern::parseRange(const std::string& text, int& first, int& last) {
    std::smatch match;
    static const std::regex kRange("([0-9]+)(?:-([0-9]+))?");
    if (!std::regex_match(text, match, kRange) || match[1].length() > 9 || match[2].length() > 9) {
        throw std::invalid_argument("--frames takes FIRST-LAST or FRAME, not \"" + text + "\"");
    }
    first = std::stoi(match[1].str());
    last = match[2].matched ? std::stoi(match[2].str()) : first;
    if (last < first) {
        throw std::invalid_argument("--frames " + text + " ends before it starts");
    }
}

}  // namespace fxhost
