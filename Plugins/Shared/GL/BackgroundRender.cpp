#include "BackgroundRender.h"

#include <glbinding/gl/gl.h>

using namespace gl;

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
