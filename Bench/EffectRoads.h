// The effect's two roads for one 8-bit host frame, shared by the exactness report and the CPU
// renderer's tests: the GL road replayed with the shared library as the effect drives it (upload,
// the effect's pass into the multisampled level, resolve, final pass, read-back; a context must be
// current), and the CPU renderer. Both give the frame's bytes in host order.
#pragma once

#include <glbinding/gl/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "AEOpenglMainFrameBuffer.h"
#include "HueAndSaturationCPURender.h"
#include "HueAndSaturationRender.h"

namespace Ostrivane {
namespace GaussianBlur {

// A host frame: A, R, G, B bytes, rows tightly packed, first row first.
struct Frame8 {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;
};

inline PF_LayerDef worldOf(std::uint8_t* data, int width, int height, int rowbytes) {
    PF_LayerDef world{};
    world.data = reinterpret_cast<PF_PixelPtr>(data);
    world.width = width;
    world.height = height;
    world.rowbytes = rowbytes;
    return world;
}

inline std::vector<std::uint8_t> glRoad(HueAndSaturationRender& pass, const Frame8& frame, float hue,
                                        float saturation) {
    using namespace gl;
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, frame.width, frame.height, 0, GL_RGBA, GL_FLOAT, nullptr);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, frame.width, frame.height, GL_RGBA, GL_UNSIGNED_BYTE,
                    frame.bytes.data());
    glBindTexture(GL_TEXTURE_2D, 0);

    AEOpenglMainFrameBuffer* target = AEOpenglMainFrameBuffer::mainFrameBuffer();
    target->prepare(frame.width, frame.height, true);
    target->beginDrawing();
    pass.setHue(hue);
    pass.setSaturation(saturation);
    pass.draw(texture, 1.0f);
    target->endDrawing(1.0f);
    glDeleteTextures(1, &texture);

    std::vector<std::uint8_t> bytes(frame.bytes.size());
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, frame.width, frame.height, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
    return bytes;
}

// An opaque frame with what a photograph has and a chart lacks: smooth gradients of every colour,
// a fine texture and noise of a few levels. The same for the same size.
inline Frame8 photographLike(int width, int height) {
    Frame8 frame{width, height, std::vector<std::uint8_t>(static_cast<size_t>(width) * height * 4)};
    std::uint32_t state = 2024;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double u = double(x) / width, v = double(y) / height;
            std::uint8_t* p = &frame.bytes[(static_cast<size_t>(y) * width + x) * 4];
            p[0] = 255;
            for (int c = 0; c < 3; ++c) {
                state = state * 1664525u + 1013904223u;
                const double smooth = 128 + 100 * std::sin(6.0 * u * (c + 1) + 4.0 * v) * std::cos(5.0 * v - 2.0 * u * c);
                const double texture = 12 * std::sin(0.9 * x + 0.7 * y + c) * std::sin(0.37 * y - 0.5 * x);
                const double noise = double(state >> 24) / 32.0 - 4.0;
                p[1 + c] = static_cast<std::uint8_t>(std::lround(std::min(255.0, std::max(0.0, smooth + texture + noise))));
            }
        }
    return frame;
}

// The output starts as 0xee bytes, so that a pixel the renderer leaves unwritten shows.
inline std::vector<std::uint8_t> cpuRoad(const Frame8& frame, float hue, float saturation) {
    std::vector<std::uint8_t> in = frame.bytes, out(frame.bytes.size(), 0xee);
    HueAndSaturationCPURender render;
    render.setHue(hue);
    render.setSaturation(saturation);
    PF_LayerDef output = worldOf(out.data(), frame.width, frame.height, frame.width * 4);
    render.render(worldOf(in.data(), frame.width, frame.height, frame.width * 4), output);
    return out;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
