#include "ScreenRender.h"

#include <glbinding/gl/gl.h>

using namespace gl;

namespace Ostrivane { namespace GaussianBlur {

namespace {

const char* const kVertexSource = "#version 330\nin vec3 position;\nin vec2 input_uv;\nout vec2 uv;\nvoid main() {\n   uv = input_uv;\n   gl_Position = vec4(position, 1.0);\n}";

const char* const kFragmentSource = "#version 330\nin vec2 uv;\nout vec4 colourOut;\nuniform sampler2D videoTexture;\nuniform float multiplier16bit;\nvoid main() {\n   colourOut = texture( videoTexture, uv );\n   if (colourOut.a == 0) {\n       colourOut = vec4(0); \n   } else {\n       colourOut = vec4(colourOut.a, colourOut.r / colourOut.a, colourOut.g / colourOut.a, colourOut.b / colourOut.a);\n   }\n   colourOut = colourOut / multiplier16bit;\n}";

} // namespace

ScreenRender::ScreenRender() : mShader(kVertexSource, kFragmentSource)
{
    mShader.addAttributeBinding("position", 0);
    mShader.addAttributeBinding("input_uv", 1);
}

// Vertex arrays of other contexts can't be named from this one; they end with their contexts.
ScreenRender::~ScreenRender()
{
    const auto found = mVertexArrays.find(EGLPlatform::currentContext());
    if (found != mVertexArrays.end() && found->second != 0)
        glDeleteVertexArrays(1, &found->second);
    mVertexArrays.clear();
    if (mVertexBuffer != 0)
        glDeleteBuffers(1, &mVertexBuffer);
}

void ScreenRender::draw(unsigned int texture, float multiplier16bit)
{
    static const float positions[] = {
        1.0f,  -1.0f, 0.0f, 1.0f, 0.0f,  //
        1.0f,  1.0f,  0.0f, 1.0f, 1.0f,  //
        -1.0f, 1.0f,  0.0f, 0.0f, 1.0f,  //
        -1.0f, 1.0f,  0.0f, 0.0f, 1.0f,  //
        -1.0f, -1.0f, 0.0f, 0.0f, 0.0f,  //
        1.0f,  -1.0f, 0.0f, 1.0f, 0.0f,
    };
    static_assert(sizeof(positions) == 120, "six vertices of five floats");

    // Vertex arrays belong to one context; the buffer is shared by all of the group.
    unsigned int& vertexArray = mVertexArrays[EGLPlatform::currentContext()];
    if (vertexArray == 0) {
        glGenVertexArrays(1, &vertexArray);
        glBindVertexArray(vertexArray);
        if (mVertexBuffer == 0) {
            glGenBuffers(1, &mVertexBuffer);
            glBindBuffer(GL_ARRAY_BUFFER, mVertexBuffer);
            glBufferData(GL_ARRAY_BUFFER, sizeof(positions), positions, GL_STATIC_DRAW);
        }
    }
    mShader.useProgram();
    glBindVertexArray(vertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, mVertexBuffer);
    mShader.setAttribute3fv(0, nullptr, 20);
    mShader.setAttribute2fv(1, reinterpret_cast<const float*>(12), 20);
    mShader.setUniformTexture("videoTexture", static_cast<int>(GL_TEXTURE_2D), static_cast<int>(texture), 0);
    mShader.setUniform1f("multiplier16bit", multiplier16bit);
    glDrawArrays(GL_TRIANGLES, 0, 6);
    mShader.disableVertexAttributeArray(0);
    mShader.disableVertexAttributeArray(1);
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

}} // namespace Ostrivane::GaussianBlur
