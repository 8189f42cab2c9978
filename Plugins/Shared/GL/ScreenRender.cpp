#include "ScreenRender.h"

#include <glbinding/gl/gl.h>

using namespace gl;

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
    static const float positions[] = {
        1.0f,  -1.0f, 0.0f, 1.0f, 0.0f,  //
        1.0f,  1.0f,  0.0f, 1.0f, 1.0f,  //
        -1.0f, 1.0f,  0.0f, 0.0f, 1.0f,  //
        -1.0f, 1.0f,  0.0f, 0.0f, 1.0f,  //
        -1.0f, -1.0f, 0.0f, 0.0f, 0.0f,  //
        1.0f,  -1.0f, 0.0f, 1.0f, 0.0f,
    };
    static_assert(sizeof(positions) == 120, "six vertices of five floats");

    mQuad.bind(positions, sizeof(positions));
    mShader.useProgram();
    mShader.setAttribute3fv(0, nullptr, 20);
    mShader.setAttribute2fv(1, reinterpret_cast<const float*>(12), 20);
    mShader.setUniformTexture("videoTexture", static_cast<int>(GL_TEXTURE_2D), static_cast<int>(texture), 0);
    mShader.setUniform1f("multiplier16bit", multiplier16bit);
    glDrawArrays(GL_TRIANGLES, 0, 6);
    mShader.disableVertexAttributeArray(0);
    mShader.disableVertexAttributeArray(1);
    FullFrameQuad::unbind();
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
