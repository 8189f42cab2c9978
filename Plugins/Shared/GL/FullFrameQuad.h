#pragma once

#include <cstddef>
#include <map>

#include "EGLPlatform.h"
#include "OpenglShader.h"

namespace Ostrivane {
namespace GaussianBlur {

/// The two triangles a full-frame pass draws: one vertex buffer, shared by the whole share
/// group and filled once, and a vertex array for each context that draws, since vertex arrays
/// belong to the context that made them. Makes no GL call before the first `bind`.
class FullFrameQuad {
public:
    FullFrameQuad() = default;
    /// Deletes the current context's vertex array and the buffer; other contexts' vertex arrays
    /// end with their contexts. Needs a context of the group current if anything was made.
    ~FullFrameQuad();

    FullFrameQuad(const FullFrameQuad&) = delete;
    FullFrameQuad& operator=(const FullFrameQuad&) = delete;

    /// Binds this context's vertex array and the buffer, making them on first use with `vertices`.
    void bind(const float* vertices, std::size_t bytes);
    /// Binds vertex array 0 and array buffer 0 again.
    static void unbind();

    /// One draw of the copying passes: x, y, z, u, v vertices with "position" at 0 and "input_uv"
    /// at 1, `texture` on unit 0 as "videoTexture", and "multiplier16bit". The program stays in
    /// use and the texture bound.
    void drawTexture(OpenglShader& shader, unsigned int texture, float multiplier16bit);

private:
    std::map<EGLContext, unsigned int> mVertexArrays;
    unsigned int mVertexBuffer = 0;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
