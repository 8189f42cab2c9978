// One frame the preview is asked for, read from a request's query: the parameter values or keys
// (`set` in --set's words; those not named keep what the preview started with), the frame, the scale and encoding, and
// which side of the split. parse() throws std::invalid_argument in the command line's words.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "EffectHost.h"
#include "FrameList.h"
#include "ParameterSettings.h"

namespace fxhost {

struct FrameRequest {
    enum class Format { Png, Jpeg };

    // Every slider's value or keys, by parameter index: the start's, each `set` replacing one.
    ParameterSettings::Curves values;
    int frame = 0;
    double scale = 1;  // of the input's width and height, above 0 and at most 1
    Format format = Format::Png;
    bool before = false;  // the input as it is, not rendered
    std::string view;     // the page's view this is for: a newer request for it replaces this one

    // `query` holds each name with all its values, in order. `start` are the values the preview
    // began with; `frames` those of the input.
    static FrameRequest parse(const std::multimap<std::string, std::string>& query, const EffectHost& host,
                              const ParameterSettings::Curves& start, const FrameList& frames);
};

}  // namespace fxhost
