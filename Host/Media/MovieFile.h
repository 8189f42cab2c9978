// Which file names are movies: those whose extension names a container FFmpeg reads and writes
// as a movie (mov, mp4, mkv, webm, avi, mxf, mpg, ts, y4m, gif and the like), in any case.
// Every other name is an image or an image sequence. A movie always goes through libav, never
// through the image library, which would read its first frame alone.
#pragma once

#include <string>

namespace fxhost {

class MovieFile {
public:
    static bool isMovie(const std::string& path);
    // The extensions, as "mov, mp4, ..." for messages and help.
    static std::string extensions();
};

}  // namespace fxhost
