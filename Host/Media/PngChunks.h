// The ancillary chunks of a PNG that an output written as PNG keeps, each as the file held it:
// text (tEXt, zTXt and iTXt, in their order, with their kind), the ICC profile (its name and
// bytes, never checked nor changed), gamma, chromaticities, sRGB intent, physical size, offset,
// time and Exif. PngInput fills it in as it reads, text after the pixels last; the image library
// fills it from the header of a file in another format (ImageCodec::pngChunks).
#pragma once

#include <spng.h>

#include <optional>
#include <string>
#include <vector>

namespace fxhost {

struct PngChunks {
    struct Text {
        int type = SPNG_TEXT;     // SPNG_TEXT, SPNG_ZTXT or SPNG_ITXT
        bool compressed = false;  // iTXt's own flag; zTXt always is
        std::string keyword, text, language, translatedKeyword;
    };

    std::string source;  // the file they were read from
    std::vector<Text> texts;
    std::optional<std::string> iccName, iccProfile;
    std::optional<uint32_t> gamma;  // × 100000, as stored
    std::optional<spng_chrm_int> chromaticities;
    std::optional<uint8_t> srgbIntent;
    std::optional<spng_phys> physical;
    std::optional<spng_offs> offset;
    std::optional<spng_time> time;
    std::optional<std::string> exif;
};

}  // namespace fxhost
