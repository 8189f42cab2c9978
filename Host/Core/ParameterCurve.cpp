#include "ParameterCurve.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace fxhost {

namespace {

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// A frame number as --frames takes one: digits only, no sign, within int.
int frameNumber(const std::string& text) {
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) {
        throw std::invalid_argument("\"" + text + "\" is not a frame number (0 or more, digits only)");
    }
    return std::atoi(text.c_str());
}

}  // namespace

ParameterCurve::ParameterCurve(double constant) : mKeys{{0, constant}} {}

ParameterCurve::ParameterCurve(std::vector<Key> keys) : mKeys(std::move(keys)), mKeyed(true) {
    if (mKeys.empty()) throw std::invalid_argument("no keys");
    std::stable_sort(mKeys.begin(), mKeys.end(),
                     [](const Key& a, const Key& b) { return a.frame < b.frame; });
    for (size_t i = 1; i < mKeys.size(); ++i) {
        if (mKeys[i].frame == mKeys[i - 1].frame) {
            throw std::invalid_argument("frame " + std::to_string(mKeys[i].frame) + " is keyed twice");
        }
    }
}

ParameterCurve ParameterCurve::parse(const std::string& text,
                                     const std::function<double(const std::string&)>& value) {
    if (text.find('@') == std::string::npos) return ParameterCurve(value(trimmed(text)));
    std::vector<Key> keys;
    size_t start = 0;
    for (;;) {
        const size_t comma = text.find(',', start);
        const std::string key =
            trimmed(text.substr(start, comma == std::string::npos ? comma : comma - start));
        try {
            const size_t at = key.find('@');
            if (at == std::string::npos || key.find('@', at + 1) != std::string::npos) {
                throw std::invalid_argument("a key is VALUE@FRAME");
            }
            const int frame = frameNumber(trimmed(key.substr(at + 1)));
            for (const Key& earlier : keys) {
                if (earlier.frame == frame) {
                    throw std::invalid_argument("frame " + std::to_string(frame) + " is keyed twice");
                }
            }
            keys.push_back({frame, value(trimmed(key.substr(0, at)))});
        } catch (const std::invalid_argument& e) {
            throw std::invalid_argument("key \"" + key + "\": " + e.what());
        }
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return ParameterCurve(std::move(keys));
}

double ParameterCurve::at(double frame) const {
    if (frame <= mKeys.front().frame) return mKeys.front().value;
    if (frame >= mKeys.back().frame) return mKeys.back().value;
    const auto next = std::upper_bound(mKeys.begin(), mKeys.end(), frame,
                                       [](double f, const Key& key) { return f < key.frame; });
    const Key& a = *(next - 1);
    const Key& b = *next;
    const double t = (frame - a.frame) / (b.frame - a.frame);
    return a.value + (b.value - a.value) * t;
}

std::string ParameterCurve::text() const {
    if (!mKeyed) return exactNumber(mKeys.front().value);
    std::string text;
    for (const Key& key : mKeys) {
        text += (text.empty() ? "" : ",") + exactNumber(key.value) + "@" + std::to_string(key.frame);
    }
    return text;
}

std::string ParameterCurve::exactNumber(double value) {
    char text[64];
    for (int digits = 6; digits <= 17; ++digits) {
        std::snprintf(text, sizeof text, "%.*g", digits, value);
        if (std::strtod(text, nullptr) == value) break;
    }
    return text;
}

}  // namespace fxhost
