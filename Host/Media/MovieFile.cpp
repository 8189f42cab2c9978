#include "MovieFile.h"

#include <algorithm>
#include <cctype>

namespace fxhost {

namespace {

// GIF is here because the image library reads an animated GIF as its first frame, silently.
const char* const kExtensions[] = {"mov", "mp4", "m4v",  "mkv", "webm", "avi", "mxf", "mpg", "mpeg",
                                   "m2v", "ts",  "m2ts", "mts", "y4m",  "flv", "ogv", "wmv", "asf",
                                   "dv",  "3gp", "3g2",  "nut", "vob",  "gif"};

}  // namespace

bool MovieFile::isMovie(const std::string& path) {
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || path.find('/', dot) != std::string::npos) return false;
    std::string extension = path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(std::begin(kExtensions), std::end(kExtensions), extension) != std::end(kExtensions);
}

std::string MovieFile::extensions() {
    std::string list;
    for (const char* extension : kExtensions) list += (list.empty() ? "" : ", ") + std::string(extension);
    return list;
}

}  // namespace fxhost
