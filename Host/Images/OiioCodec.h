// The image library's codec: ImageCodec over OpenImageIO. Its one instance is what the library's
// exported entry, fxhost_image_codec, hands the host.
#pragma once

#include "ImageCodec.h"

namespace fxhost {

class OiioCodec : public ImageCodec {
public:
    // Sets OpenImageIO up for the host: no thread pool of its own, since the host keeps frames
    // on its own threads and the library's pool would only compete with them.
    OiioCodec();

    std::unique_ptr<ImageInputFile> openInput(const std::string& path) override;
    std::unique_ptr<ImageOutputFile> createOutput(const std::string& name, const ImageHeader& like, int width,
                                                  int height, size_t extraValues,
                                                  const WriteOptions& options) override;
    std::shared_ptr<const PngChunks> pngChunks(const ImageHeader& like, int& otherImages) override;
    std::string pasteTile(HostWorld& sheet, int x, int y, int width, int height, const HostWorld& tile,
                          const std::string& label, int fontSize) override;
};

}  // namespace fxhost
