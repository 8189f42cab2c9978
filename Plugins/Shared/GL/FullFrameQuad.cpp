#include "FullFrameQuad.h"

#include <glbinding/gl/gl.h>

using namespace gl;

namespace Ostrivane {
namespace GaussianBlur {

FullFrameQuad::~FullFrameQuad() {
    const auto found = mVertexArrays.find(EGLPlatform::currentContext());
    if (found != mVertexArrays.end() && found->second != 0) glDeleteVertexArrays(1, &found->second);
    mVertexArrays.clear();
    if (mVertexBuffer != 0) glDeleteBuffers(1, &mVertexBuffer);
}

void FullFrameQuad::bind(const float* vertices, std::size_t bytes) {
    unsigned int& vertexArray = mVertexArrays[EGLPlatform::currentContext()];
    if (vertexArray == 0) {
        glGenVertexArrays(1, &vertexArray);
        glBindVertexArray(vertexArray);
        if (mVertexBuffer == 0) {
            glGenBuffers(1, &mVertexBuffer);
            glBindBuffer(GL_ARRAY_BUFFER, mVertexBuffer);
            glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(bytes), vertices, GL_STATIC_DRAW);
        }
    }
    glBindVertexArray(vertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, mVertexBuffer);
}

void FullFrameQuad::drawTexture(OpenglShader& shader, unsigned int texture, float multiplier16bit) {
    static const float positions[] = {
        1.0f,  -1.0f, 0.0f, 1.0f, 0.0f,  //
        1.0f,  1.0f,  0.0f, 1.0f, 1.0f,  //
        -1.0f, 1.0f,  0.0f, 0.0f, 1.0f,  //
        -1.0f, 1.0f,  0.0f, 0.0f, 1.0f,  //
        -1.0f, -1.0f, 0.0f, 0.0f, 0.0f,  //
        1.0f,  -1.0f, 0.0f, 1.0f, 0.0f,
    };
    static_assert(sizeof(positions) == 120, "six vertices of five floats");

    bind(positions, sizeof(positions));
    shader.useProgram();
    shader.setAttribute3fv(0, nullptr, 20);
    shader.setAttribute2fv(1, reinterpret_cast<const float*>(12), 20);
    shader.setUniformTexture("videoTexture", static_cast<int>(GL_TEXTURE_2D), static_cast<int>(texture), 0);
    shader.setUniform1f("multiplier16bit", multiplier16bit);
    glDrawArrays(GL_TRIANGLES, 0, 6);
    shader.disableVertexAttributeArray(0);
    shader.disableVertexAttributeArray(1);
    unbind();
}

void FullFrameQuad::unbind() {
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
