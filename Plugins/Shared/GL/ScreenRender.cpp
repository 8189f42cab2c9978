#include "ScreenRender.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

const char* const kVertexSource =
    "#version 330\nin vec3 position;\nin vec2 input_uv;\nout vec2 uv;\nvoid main() {\n   uv = input_uv;\n   gl_Position = vec4(position, 1.0);\n}";

const char* const kFragmentSource =
    "#version 330\nin vec2 uv;\nout vec4 colourOut;\nuniform sampler2D videoTexture;\nuniform float multiplier16bit;\nvoid main() {\n   colourOut = texture( videoTexture, uv );\n   if (colourOut.a == 0) {\n       colourOut = vec4(0); \n   } else {\n       colourOut = vec4(colourOut.a, colourOut.r / colourOut.a, colourOut.g / colourOut.a, colourOut.b / colourOut.a);\n   }\n   colourOut = colourOut / multiplier16bit;\n}";

}  // namespace

ScreenRender::ScreenRender() : mShader(kVertexSource, kFragmentSource) {
    mShader.addAttributeBinding("position", 0);
    mShader.addAttributeBinding("input_uv", 1);
}

void ScreenRender::draw(unsigned int texture, float multiplier16bit) {
    mQuad.drawTexture(mShader, texture, multiplier16bit);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
