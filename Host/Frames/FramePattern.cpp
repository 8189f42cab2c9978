#include "FramePattern.h"

#include <cstdio>
#include <filesystem>
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

FrameList FramePattern::existingFrames() const {
    if (!isSequence()) return FrameList();
    const size_t slash = mBefore.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : mBefore.substr(0, slash + 1);
    const std::string prefix = mBefore.substr(slash == std::string::npos ? 0 : slash + 1);
    std::vector<int> frames;
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        const std::string file = it->path().filename().string();
        if (file.size() <= prefix.size() + mAfter.size() || file.compare(0, prefix.size(), prefix) != 0 ||
            file.compare(file.size() - mAfter.size(), mAfter.size(), mAfter) != 0) {
            continue;
        }
        const std::string digits = file.substr(prefix.size(), file.size() - prefix.size() - mAfter.size());
        if (digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos) continue;
        // Only the name the pattern itself gives the frame: "out_12.png" is no frame of "out_%04d.png".
        const int frame = std::stoi(digits);
        if (name(frame) == (slash == std::string::npos ? "" : folder) + file) frames.push_back(frame);
    }
    if (error) throw std::runtime_error("cannot list '" + folder + "': " + error.message());
    return FrameList(std::move(frames));
}

}  // namespace fxhost
