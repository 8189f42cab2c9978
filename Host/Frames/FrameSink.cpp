#include "FrameSink.h"

#include "ImageSink.h"
#include "MovieFile.h"
#include "MovieSink.h"

namespace fxhost {

std::unique_ptr<FrameSink> FrameSink::open(const std::string& output, const SinkOptions& options) {
    if (MovieFile::isMovie(output)) return std::make_unique<MovieSink>(output, options);
    return std::make_unique<ImageSink>(output, options.write);
}

}  // namespace fxhost
