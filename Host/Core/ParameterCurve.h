// A parameter's value over time: keys of (frame, value), the value moving linearly between
// neighbouring keys and held before the first and after the last. Frames are the numbers
// `--frames` uses (a sequence's own, a movie's from 1, a single image's 0). The text form is
// "VALUE" (a constant) or "V@F,V@F,..." (keys; one key is a constant too).
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace fxhost {

class ParameterCurve {
public:
    struct Key {
        int frame;
        double value;
    };

    explicit ParameterCurve(double constant = 0.0);
    // Keys in any order; throws std::invalid_argument if there are none or a frame is there twice.
    explicit ParameterCurve(std::vector<Key> keys);

    // Reads the text form; each value's text goes through `value`, which returns it or throws
    // std::invalid_argument. Throws std::invalid_argument naming the key at fault.
    static ParameterCurve parse(const std::string& text,
                                const std::function<double(const std::string&)>& value);

    // The value at a frame, which may lie between whole frames.
    double at(double frame) const;

    bool keyed() const { return mKeyed; }
    const std::vector<Key>& keys() const { return mKeys; }  // ascending by frame

    // The text form, with values written so that they read back exactly.
    std::string text() const;

    // The shortest text of a number that reads back as the same double.
    static std::string exactNumber(double value);

private:
    std::vector<Key> mKeys;
    bool mKeyed = false;
};

}  // namespace fxhost
