#include "FrameRequest.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include "ParameterSettings.h"

namespace fxhost {

namespace {

// The one value of a name that may be given once; "" when it is not given.
std::string single(const std::multimap<std::string, std::string>& query, const std::string& name) {
    if (query.count(name) > 1) throw std::invalid_argument(name + " is given more than once");
    const auto it = query.find(name);
    return it == query.end() ? std::string() : it->second;
}

}  // namespace

FrameRequest FrameRequest::parse(const std::multimap<std::string, std::string>& query, const EffectHost& host,
                                 const ParameterSettings::Curves& start, const FrameList& frames) {
    FrameRequest request;
    request.values = start;
    const auto sets = query.equal_range("set");
    for (auto it = sets.first; it != sets.second; ++it) {
        ParameterSettings::resolveAssignment(host, it->second, request.values);
    }

    request.frame = frames.first();
    const std::string frame = single(query, "frame");
    if (!frame.empty()) {
        errno = 0;
        char* end = nullptr;
        const long number = std::strtol(frame.c_str(), &end, 10);
        if (*end != '\0' || errno == ERANGE || number < -1000000000L || number > 1000000000L) {
            throw std::invalid_argument("frame \"" + frame + "\" is not a number");
        }
        const std::vector<int>& all = frames.frames();
        if (!std::binary_search(all.begin(), all.end(), static_cast<int>(number))) {
            throw std::invalid_argument(
                "frame " + frame + ": no input for frame " + frame + " (the input has " +
                (frames.size() == 1 && frames.first() == 0 ? std::string("one image")
                                                           : "frames " + frames.text()) +
                ")");
        }
        request.frame = static_cast<int>(number);
    }

    const std::string scale = single(query, "scale");
    if (!scale.empty()) {
        char* end = nullptr;
        request.scale = std::strtod(scale.c_str(), &end);
        if (*end != '\0' || !std::isfinite(request.scale)) {
            throw std::invalid_argument("scale \"" + scale + "\" is not a number");
        }
        if (request.scale <= 0 || request.scale > 1) {
            throw std::invalid_argument("scale " + scale + " is out of range (above 0, at most 1)");
        }
    }

    const std::string format = single(query, "format");
    if (format == "jpeg") {
        request.format = Format::Jpeg;
    } else if (!format.empty() && format != "png") {
        throw std::invalid_argument("format \"" + format + "\" is unknown; it is png or jpeg");
    }

    const std::string view = single(query, "view");
    if (view == "before") {
        request.before = true;
    } else if (!view.empty() && view != "after") {
        throw std::invalid_argument("view \"" + view + "\" is unknown; it is after or before");
    }

    request.view = single(query, "client");
    if (request.view.size() > 64) throw std::invalid_argument("client is longer than 64 characters");
    return request;
}

}  // namespace fxhost
