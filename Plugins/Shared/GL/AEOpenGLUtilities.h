// Moves pixels between host worlds (channels A, R, G, B in memory, straight
// alpha) and GL, without reordering channels or flipping rows: texture red
// holds A, green R, blue G, alpha B. 8-bit and 16-bit worlds go to GL straight
// from host memory; float worlds go through the host's iterate suite.
// Failures throw: int 13 for a missing suite, 516 for an unknown format or a
// malformed world, the host's code when iterate fails, std::bad_alloc when a
// size can't be allocated (or its byte count overflows).
#pragma once

#include <glbinding/gl/types.h>

#include <string>

#include "PFTypes.h"

namespace Ostrivane {
namespace GaussianBlur {

// Refcon of the float copy callbacks: a tightly packed buffer of world->width pixels a row.
struct FloatCopyRefcon {
    PF_PixelFloat* buffer;
    PF_LayerDef* world;
};

class AEOpenGLUtilities {
public:
    // A new GL_RGBA32F texture of the input's size holding its pixels; the caller owns it.
    // Sets pixelSize (bytes), pixelType and multiplier16bit (65535/32768 for 16-bit worlds, else 1).
    static unsigned int UploadTexture(int format, PF_LayerDef* input, PF_LayerDef* output, PF_InData* in_data,
                                      unsigned long& pixelSize, gl::GLenum& pixelType, float& multiplier16bit,
                                      bool useMipmapFilter);
    // Reads width by height pixels of the bound read frame buffer's attachment 0 into the
    // output world. Only the overlap of that rectangle and the output is written, and never
    // a byte beyond a row's last pixel. pixelSize and pixelType must be those UploadTexture gave
    // for the format (else int 516); input is not read.
    static void DownloadTexture(unsigned int width, unsigned int height, PF_LayerDef* input,
                                PF_LayerDef* output, PF_InData* in_data, int format, unsigned long pixelSize,
                                gl::GLenum pixelType);

    static PF_Err CopyPixelFloatIn(void* refcon, A_long x, A_long y, PF_PixelFloat* in, PF_PixelFloat* out);
    static PF_Err CopyPixelFloatOut(void* refcon, A_long x, A_long y, PF_PixelFloat* in, PF_PixelFloat* out);

    // The bound frame buffer's completeness as text: "OK" or what is wrong.
    static std::string CheckFramebufferStatus();
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
