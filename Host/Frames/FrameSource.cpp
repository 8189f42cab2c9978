#include "FrameSource.h"

#include "ImageSource.h"
#include "MovieFile.h"
#include "MovieSource.h"

namespace fxhost {

std::unique_ptr<FrameSource> FrameSource::open(const std::string& input, const SourceOptions& options,
                                               std::unique_ptr<MovieReader> opened) {
    if (MovieFile::isMovie(input)) return std::make_unique<MovieSource>(input, options, std::move(opened));
    return std::make_unique<ImageSource>(input, options);
}

}  // namespace fxhost
