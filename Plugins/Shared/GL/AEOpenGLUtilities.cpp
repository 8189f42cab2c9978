#include "AEOpenGLUtilities.h"

#include <glbinding/gl/gl.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "PFSuites.h"
#include "SuiteScoper.h"

using namespace gl;

namespace Ostrivane {
namespace GaussianBlur {

namespace {

constexpr float kMultiplier16bit = 65535.0f / 32768.0f;

// Bytes a pixel and GL pixel type of a host format code; 0 and GL_NONE for a code not supported.
unsigned long PixelSize(int format) {
    return format == PF_PixelFormat_ARGB32    ? 4
           : format == PF_PixelFormat_ARGB64  ? 8
           : format == PF_PixelFormat_ARGB128 ? 16
                                              : 0;
}

GLenum PixelType(int format) {
    return format == PF_PixelFormat_ARGB32    ? GL_UNSIGNED_BYTE
           : format == PF_PixelFormat_ARGB64  ? GL_UNSIGNED_SHORT
           : format == PF_PixelFormat_ARGB128 ? GL_FLOAT
                                              : GL_NONE;
}

// A world whose rows are shorter than its pixels, or whose size is negative, would make
// GL or the row copies run past the host's buffer.
void CheckWorld(const PF_LayerDef* world, unsigned long pixelSize) {
    if (!world || world->width < 0 || world->height < 0 ||
        static_cast<int64_t>(world->rowbytes) <
            static_cast<int64_t>(world->width) * static_cast<int64_t>(pixelSize)) {
        throw static_cast<int>(PF_Err_BAD_CALLBACK_PARAM);
    }
}

// width * height * pixelSize, or bad_alloc when the pixel count leaves 32 bits: a
// wrapped product would allocate short and be overrun.
size_t ByteCount(uint64_t width, uint64_t height, uint64_t pixelSize) {
    const uint64_t pixels = width * height;
    if (pixels > UINT32_MAX) {
        throw std::bad_alloc();
    }
    return static_cast<size_t>(pixels * pixelSize);
}

std::unique_ptr<PF_PixelFloat[]> AllocateFloatPixels(const PF_LayerDef* world) {
    const size_t bytes = ByteCount(static_cast<uint64_t>(world->width), static_cast<uint64_t>(world->height),
                                   sizeof(PF_PixelFloat));
    return std::unique_ptr<PF_PixelFloat[]>(new PF_PixelFloat[bytes / sizeof(PF_PixelFloat) + 1]);
}

void IterateFloat(PF_InData* in_data, PF_LayerDef* src, FloatCopyRefcon& refcon, PF_IteratePixelFloatFunc fn,
                  PF_LayerDef* dst) {
    SuiteScoper<PF_iterateFloatSuite1> iterateSuite(in_data, kPFIterateFloatSuite,
                                                    kPFIterateFloatSuiteVersion1, nullptr, nullptr);
    // A host may report success with a null table: that is a missing suite too.
    if (!iterateSuite.get()) {
        throw static_cast<int>(A_Err_MISSING_SUITE);
    }
    if (const PF_Err err = iterateSuite->iterate(in_data, 0, src->height, src, nullptr, &refcon, fn, dst)) {
        throw static_cast<int>(err);
    }
}

// Copies the overlap of the tightly packed read-back and the output world, row by row.
template <typename Pixel>
void CopyRows(const uint8_t* buffer, unsigned int width, unsigned int height, PF_LayerDef* output,
              PF_Err (*pixelData)(PF_EffectWorld*, PF_PixelPtr, Pixel**)) {
    const size_t pixelSize = sizeof(Pixel);
    const unsigned int rows = std::min<unsigned int>(height, static_cast<unsigned int>(output->height));
    const size_t rowBytes = std::min<size_t>(width, static_cast<size_t>(output->width)) * pixelSize;
    for (unsigned int y = 0; y < rows; ++y) {
        Pixel* base = nullptr;
        pixelData(output, nullptr, &base);
        if (!base) {
            throw static_cast<int>(PF_Err_BAD_CALLBACK_PARAM);
        }
        uint8_t* destination = reinterpret_cast<uint8_t*>(base) +
                               static_cast<size_t>(y) * output->rowbytes / pixelSize * pixelSize;
        std::copy(buffer + static_cast<size_t>(y) * width * pixelSize,
                  buffer + static_cast<size_t>(y) * width * pixelSize + rowBytes, destination);
    }
}

// The host handle that receives the read-back, disposed however the download ends.
class HostBuffer {
public:
    HostBuffer(const PF_HandleSuite1* suite, size_t bytes)
        : mSuite(suite), mHandle(suite->host_new_handle(bytes)) {
        if (!mHandle) {
            throw static_cast<int>(PF_Err_OUT_OF_MEMORY);
        }
        mData = static_cast<uint8_t*>(mSuite->host_lock_handle(mHandle));
    }
    ~HostBuffer() {
        mSuite->host_unlock_handle(mHandle);
        mSuite->host_dispose_handle(mHandle);
    }
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;
    uint8_t* data() const { return mData; }

private:
    const PF_HandleSuite1* mSuite;
    PF_Handle mHandle;
    uint8_t* mData = nullptr;
};

}  // namespace

unsigned int AEOpenGLUtilities::UploadTexture(int format, PF_LayerDef* input, PF_LayerDef*,
                                              PF_InData* in_data, unsigned long& pixelSize, GLenum& pixelType,
                                              float& multiplier16bit, bool useMipmapFilter) {
    const unsigned long size = PixelSize(format);
    if (size == 0) {
        throw static_cast<int>(PF_Err_BAD_CALLBACK_PARAM);
    }
    CheckWorld(input, size);
    ByteCount(static_cast<uint64_t>(input->width), static_cast<uint64_t>(input->height), size);

    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER,
                    useMipmapFilter ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, input->width, input->height, 0, GL_RGBA, GL_FLOAT, nullptr);
    multiplier16bit = 1.0f;
    pixelSize = size;

    // Whatever fails from here must not leave the texture behind or the unpack state changed.
    try {
        if (format == PF_PixelFormat_ARGB32) {
            pixelType = GL_UNSIGNED_BYTE;
            glPixelStorei(GL_UNPACK_ROW_LENGTH, input->rowbytes >> 2);
            PF_Pixel8* pixels = nullptr;
            in_data->utils->get_pixel_data8(input, nullptr, &pixels);
            if (!pixels) throw static_cast<int>(PF_Err_BAD_CALLBACK_PARAM);
            glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, input->width, input->height, GL_RGBA, pixelType, pixels);
        } else if (format == PF_PixelFormat_ARGB64) {
            pixelType = GL_UNSIGNED_SHORT;
            multiplier16bit = kMultiplier16bit;
            glPixelStorei(GL_UNPACK_ROW_LENGTH, input->rowbytes >> 3);
            PF_Pixel16* pixels = nullptr;
            in_data->utils->get_pixel_data16(input, nullptr, &pixels);
            if (!pixels) throw static_cast<int>(PF_Err_BAD_CALLBACK_PARAM);
            glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, input->width, input->height, GL_RGBA, pixelType, pixels);
        } else {
            pixelType = GL_FLOAT;
            std::unique_ptr<PF_PixelFloat[]> buffer = AllocateFloatPixels(input);
            FloatCopyRefcon refcon{buffer.get(), input};
            IterateFloat(in_data, input, refcon, CopyPixelFloatIn, input);
            glPixelStorei(GL_UNPACK_ROW_LENGTH, input->width);
            glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, input->width, input->height, GL_RGBA, pixelType,
                            buffer.get());
        }
    } catch (...) {
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glBindTexture(GL_TEXTURE_2D, 0);
        glDeleteTextures(1, &texture);
        throw;
    }
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glBindTexture(GL_TEXTURE_2D, 0);
    return texture;
}

void AEOpenGLUtilities::DownloadTexture(unsigned int width, unsigned int height, PF_LayerDef*,
                                        PF_LayerDef* output, PF_InData* in_data, int format,
                                        unsigned long pixelSize, GLenum pixelType) {
    SuiteScoper<PF_HandleSuite1> handleSuite(in_data, kPFHandleSuite, kPFHandleSuiteVersion1, nullptr,
                                             nullptr);
    if (!handleSuite.get()) {
        throw static_cast<int>(A_Err_MISSING_SUITE);
    }
    // The read-back buffer is sized by pixelSize, filled by pixelType and copied by format: if
    // the three disagree, GL or the row copies would run past it.
    if (PixelSize(format) == 0 || pixelSize != PixelSize(format) || pixelType != PixelType(format)) {
        throw static_cast<int>(PF_Err_BAD_CALLBACK_PARAM);
    }
    CheckWorld(output, pixelSize);
    HostBuffer buffer(handleSuite.get(), ByteCount(width, height, pixelSize));

    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glReadPixels(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height), GL_RGBA, pixelType,
                 buffer.data());

    if (format == PF_PixelFormat_ARGB32) {
        CopyRows<PF_Pixel8>(buffer.data(), width, height, output, in_data->utils->get_pixel_data8);
    } else if (format == PF_PixelFormat_ARGB64) {
        CopyRows<PF_Pixel16>(buffer.data(), width, height, output, in_data->utils->get_pixel_data16);
    } else {
        // The read-back has `width` pixels a row; the refcon's world must say so, whatever the input claims.
        PF_LayerDef shape = *output;
        shape.width = static_cast<A_long>(width);
        shape.height = static_cast<A_long>(height);
        FloatCopyRefcon refcon{reinterpret_cast<PF_PixelFloat*>(buffer.data()), &shape};
        // The host reads the source world's pixels for every pixel it visits, so the source is the
        // output itself cut to the overlap: the input may be smaller than the read-back.
        PF_LayerDef overlap = *output;
        overlap.width = std::min(shape.width, output->width);
        overlap.height = std::min(shape.height, output->height);
        IterateFloat(in_data, &overlap, refcon, CopyPixelFloatOut, output);
    }
}

PF_Err AEOpenGLUtilities::CopyPixelFloatIn(void* refcon, A_long x, A_long y, PF_PixelFloat* in,
                                           PF_PixelFloat*) {
    FloatCopyRefcon* copy = static_cast<FloatCopyRefcon*>(refcon);
    copy->buffer[static_cast<size_t>(y) * copy->world->width + x] = *in;
    return PF_Err_NONE;
}

PF_Err AEOpenGLUtilities::CopyPixelFloatOut(void* refcon, A_long x, A_long y, PF_PixelFloat*,
                                            PF_PixelFloat* out) {
    FloatCopyRefcon* copy = static_cast<FloatCopyRefcon*>(refcon);
    *out = copy->buffer[static_cast<size_t>(y) * copy->world->width + x];
    return PF_Err_NONE;
}

std::string AEOpenGLUtilities::CheckFramebufferStatus() {
    switch (glCheckFramebufferStatus(GL_FRAMEBUFFER)) {
        case GL_FRAMEBUFFER_COMPLETE:
            return "OK";
        case GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT:
            return "Framebuffer incomplete, incomplete attachment!";
        case GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT:
            return "Framebuffer incomplete, missing attachment!";
        case GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER:
            return "Framebuffer incomplete, missing draw buffer!";
        case GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER:
            return "Framebuffer incomplete, missing read buffer!";
        case GL_FRAMEBUFFER_UNSUPPORTED:
            return "Unsupported framebuffer format!";
        default:
            return "Unknown error!";
    }
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
