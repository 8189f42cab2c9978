#pragma once

#include "FullFrameQuad.h"
#include "OpenglShader.h"

namespace Ostrivane {
namespace GaussianBlur {

/// The inverse of ScreenRender: draws a texture in the host's channel order (A, R, G, B), straight
/// alpha, over the whole viewport of the bound frame buffer as premultiplied (R, G, B, A),
/// multiplied by `multiplier16bit`. Vertex arrays are made per context.
class BackgroundRender {
public:
    BackgroundRender();

    BackgroundRender(const BackgroundRender&) = delete;
    BackgroundRender& operator=(const BackgroundRender&) = delete;

    void draw(unsigned int texture, float multiplier16bit);

private:
    OpenglShader mShader;
    FullFrameQuad mQuad;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
