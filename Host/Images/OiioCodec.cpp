#include "OiioCodec.h"

#include <stdexcept>

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include "OiioInput.h"
#include "OiioOutput.h"

namespace fxhost {

namespace {

// An ImageBuf over a rectangle of a world's own memory: 8-bit A, R, G, B, rows rowbytes apart.
OIIO::ImageBuf wrap(const HostWorld& world, int x, int y, int width, int height) {
    const PF_LayerDef* def = world.def();
    uint8_t* origin = static_cast<uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes + 4 * x;
    return OIIO::ImageBuf(OIIO::ImageSpec(width, height, 4, OIIO::TypeDesc::UINT8), origin, 4, def->rowbytes);
}

}  // namespace

OiioCodec::OiioCodec() {
    OIIO::attribute("threads", 1);
}

std::unique_ptr<ImageInputFile> OiioCodec::openInput(const std::string& path) {
    return std::make_unique<OiioInput>(path);
}

std::unique_ptr<ImageOutputFile> OiioCodec::createOutput(const std::string& name, const ImageHeader& like,
                                                         int width, int height, size_t extraValues,
                                                         const WriteOptions& options) {
    return std::make_unique<OiioOutput>(name, like, width, height, extraValues, options);
}

std::shared_ptr<const PngChunks> OiioCodec::pngChunks(const ImageHeader& like, int& otherImages) {
    const auto* file = static_cast<const OiioFile*>(like.file.get());
    otherImages = file ? file->subimages - 1 : 0;
    return file ? OiioInput::pngChunks(*file) : nullptr;
}

std::string OiioCodec::pasteTile(HostWorld& sheet, int x, int y, int width, int height, const HostWorld& tile,
                                 const std::string& label, int fontSize) {
    OIIO::ImageBuf to = wrap(sheet, x, y, width, height);
    const OIIO::ImageBuf from = wrap(tile, 0, 0, tile.width(), tile.height());
    // A tile of the rendered size is copied byte for byte; any other is filtered down (or up).
    const bool copied = tile.width() == width && tile.height() == height ? OIIO::ImageBufAlgo::copy(to, from)
                                                                         : OIIO::ImageBufAlgo::resize(to, from);
    if (!copied) throw std::runtime_error("cannot scale a tile: " + OiioInput::firstLine(to.geterror()));
    const float white[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    if (!OIIO::ImageBufAlgo::render_text(to, fontSize / 2, height - fontSize / 2, label, fontSize, "DejaVuSans",
                                         white, OIIO::ImageBufAlgo::TextAlignX::Left,
                                         OIIO::ImageBufAlgo::TextAlignY::Baseline, 2)) {
        return OiioInput::firstLine(to.geterror());
    }
    return "";
}

}  // namespace fxhost

// The one symbol the library exports (see its link options); the host checks the version.
extern "C" __attribute__((visibility("default"))) fxhost::ImageCodec* fxhost_image_codec(int version) {
    if (version != fxhost::ImageCodec::kVersion) return nullptr;
    static fxhost::OiioCodec codec;
    return &codec;
}
