// Fault: every frame makes a texture in the effect's share group and never deletes it.
#include <glbinding/gl/gl.h>

#include "AEOpenGLContextManager.h"
#include "SaveRestoreGLContextEGL.h"
#include "Shim.h"

using namespace Ostrivane::GaussianBlur;

SHIM_AFTER_EACH_FRAME {
    SaveRestoreGLContextEGL saved;
    AEOpenGLContextManager::getCurrentRenderContext()->makeContextCurrent();
    gl::GLuint texture = 0;
    gl::glGenTextures(1, &texture);
    gl::glBindTexture(gl::GL_TEXTURE_2D, texture);
    gl::glBindTexture(gl::GL_TEXTURE_2D, 0);
    saved.restore();
}
