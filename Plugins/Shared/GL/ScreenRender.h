#pragma once

#include "FullFrameQuad.h"
#include "OpenglShader.h"

namespace Ostrivane {
namespace GaussianBlur {

/// The last pass of a frame: draws a texture of premultiplied (R, G, B, A) over the whole viewport
/// of the bound frame buffer as the host's (A, R, G, B) with straight alpha, divided by
/// `multiplier16bit`; a texel with alpha 0 gives zeros. Vertex arrays are made per context.
class ScreenRender {
public:
    ScreenRender();

    ScreenRender(const ScreenRender&) = delete;
    ScreenRender& operator=(const ScreenRender&) = delete;

    void draw(unsigned int texture, float multiplier16bit);

private:
    FullFrameQuad mQuad;
    OpenglShader mShader;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
