// A set of frame numbers as farm tools write it: "1001-1100", with a step "1-100x5", and lists
// "1-10,20,30-40". Frames are kept distinct and ascending; parse() throws std::invalid_argument
// naming the bad text for anything malformed, reversed, stepped by 0, listed twice or too long.
#pragma once

#include <string>
#include <vector>

namespace fxhost {

class FrameList {
public:
    FrameList() = default;
    // Sorts the frames; throws std::invalid_argument if one is there twice.
    explicit FrameList(std::vector<int> frames);

    static FrameList parse(const std::string& text);

    const std::vector<int>& frames() const { return mFrames; }
    bool empty() const { return mFrames.empty(); }
    size_t size() const { return mFrames.size(); }
    int first() const { return mFrames.front(); }
    int last() const { return mFrames.back(); }

    // The list in the syntax parse() reads, runs of one step written as FIRST-LAST[xSTEP].
    std::string text() const;

    // Consecutive slices of `size` frames (the last may be shorter), in order.
    std::vector<FrameList> chunks(int size) const;

    // The most frames a list may hold, so that a typing slip cannot ask for billions.
    static constexpr size_t kMaxFrames = 1000000;

private:
    std::vector<int> mFrames;
};

}  // namespace fxhost
