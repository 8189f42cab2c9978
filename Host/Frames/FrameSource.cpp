#include "FrameSource.h"

#include "ImageSource.h"

namespace fxhost {

std::unique_ptr<FrameSource> FrameSource::open(const std::string& input, const SourceOptions& options) {
    return std::make_unique<ImageSource>(input, options);
}

}  // namespace fxhost
