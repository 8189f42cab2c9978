// What zimg is told about libav frames and the host's ARGB: which pixel formats it takes as they
// are stored (planar YUV or GBR, 8 to 16 bits, each component in a plane of its own, native byte
// order), and the stream's matrix and chroma siting in zimg's terms, mapped as zscale maps them.
#pragma once

#include <zimg.h>

#include "LibAv.h"

namespace fxhost {

class ZimgFormat {
public:
    static bool takes(AVPixelFormat format);
    // The colour of a frame of a format zimg takes: size, depth, subsampling, colour family.
    // Alpha is never zimg's: zscale carries it beside the graph, and so does the host.
    static zimg_image_format of(AVPixelFormat format, int width, int height);
    // The host's colour split into planes: 8-bit full-range RGB.
    static zimg_image_format rgb(int width, int height);
    // A frame's colour planes in zimg's order (Y, U, V or R, G, B).
    static zimg_image_buffer_const planes(const AVFrame& frame);
    static zimg_image_buffer planes(AVFrame& frame);
    // Whether the frame's planes and rows start where zimg's vector code may read them.
    static bool aligned(const AVFrame& frame);

    // A stream's matrix; one that names none (or one zimg would need more to apply) is BT.601,
    // as FFmpeg decodes it, and constant-luminance BT.2020 is applied as its non-constant twin.
    static zimg_matrix_coefficients_e matrix(int space);
    // A stream's chroma siting; unspecified is left (MPEG-2's, H.264's default), as zscale takes it.
    static zimg_chroma_location_e siting(int location);
};

}  // namespace fxhost
