#include "FrameList.h"

#include <algorithm>
#include <regex>
#include <stdexcept>

namespace fxhost {

FrameList::FrameList(std::vector<int> frames) : mFrames(std::move(frames)) {
    std::sort(mFrames.begin(), mFrames.end());
    const auto twice = std::adjacent_find(mFrames.begin(), mFrames.end());
    if (twice != mFrames.end()) {
        throw std::invalid_argument("frame " + std::to_string(*twice) + " is listed twice");
    }
}

FrameList FrameList::parse(const std::string& text) {
    static const std::regex kItem("([0-9]{1,9})(?:-([0-9]{1,9})(?:x([0-9]{1,9}))?)?");
    std::vector<int> frames;
    size_t start = 0;
    do {
        const size_t comma = std::min(text.find(',', start), text.size());
        const std::string item = text.substr(start, comma - start);
        std::smatch match;
        if (!std::regex_match(item, match, kItem)) {
            throw std::invalid_argument(
                "\"" + item + "\" is not FRAME, FIRST-LAST or FIRST-LASTxSTEP (in \"" + text + "\")");
        }
        const long first = std::stol(match[1].str());
        const long last = match[2].matched ? std::stol(match[2].str()) : first;
        const long step = match[3].matched ? std::stol(match[3].str()) : 1;
        if (last < first) throw std::invalid_argument("\"" + item + "\" ends before it starts");
        if (step < 1) throw std::invalid_argument("\"" + item + "\" has a step of 0");
        if (frames.size() + (last - first) / step + 1 > kMaxFrames) {
            throw std::invalid_argument("\"" + text + "\" holds more than " + std::to_string(kMaxFrames) +
                                        " frames");
        }
        for (long frame = first; frame <= last; frame += step) frames.push_back(static_cast<int>(frame));
        start = comma + 1;
    } while (start <= text.size());
    try {
        return FrameList(std::move(frames));
    } catch (const std::invalid_argument& e) {
        throw std::invalid_argument(std::string(e.what()) + " in \"" + text + "\"");
    }
}

std::string FrameList::text() const {
    std::string text;
    for (size_t i = 0; i < mFrames.size();) {
        // The longest run of one step from here; a run of two is clearer as two frames.
        size_t end = i + 1;
        if (i + 2 < mFrames.size()) {
            const int step = mFrames[i + 1] - mFrames[i];
            while (end < mFrames.size() && mFrames[end] - mFrames[end - 1] == step) ++end;
            if (end - i < 3) end = i + 1;
        }
        if (!text.empty()) text += ',';
        text += std::to_string(mFrames[i]);
        if (end - i > 1) {
            const int step = mFrames[i + 1] - mFrames[i];
            text += '-' + std::to_string(mFrames[end - 1]);
            if (step > 1) text += 'x' + std::to_string(step);
        }
        i = end;
    }
    return text;
}

std::vector<FrameList> FrameList::chunks(int size) const {
    if (size < 1) throw std::invalid_argument("a chunk holds at least one frame");
    std::vector<FrameList> chunks;
    for (size_t i = 0; i < mFrames.size(); i += size) {
        const size_t end = std::min(mFrames.size(), i + size);
        chunks.emplace_back(std::vector<int>(mFrames.begin() + i, mFrames.begin() + end));
    }
    return chunks;
}

}  // namespace fxhost
