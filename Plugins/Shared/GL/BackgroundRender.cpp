#include "BackgroundRender.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

const char* const kVertexSource =
    "#version 330\nin vec3 position; in vec2 input_uv; out vec2 uv; void main() {uv = input_uv; gl_Position = vec4(position, 1.0); }";

const char* const kFragmentSource =
    "#version 330\nin vec2 uv;uniform sampler2D videoTexture;uniform float multiplier16bit;out vec4 colourOut;\nvoid main() {\tcolourOut = texture( videoTexture, uv );\tcolourOut = colourOut * multiplier16bit; \tcolourOut = vec4(colourOut.g, colourOut.b, colourOut.a, colourOut.r); \tcolourOut = vec4(colourOut.a * colourOut.r, colourOut.a * colourOut.g, colourOut.a * colourOut.b, colourOut.a); }";

}  // namespace

BackgroundRender::BackgroundRender() : mShader(kVertexSource, kFragmentSource) {
    mShader.addAttributeBinding("position", 0);
    mShader.addAttributeBinding("input_uv", 1);
}

void BackgroundRender::draw(unsigned int texture, float multiplier16bit) {
    mQuad.drawTexture(mShader, texture, multiplier16bit);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
