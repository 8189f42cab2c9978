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

void FullFrameQuad::unbind() {
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
