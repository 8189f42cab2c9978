#include "ObjectCensus.h"

#include <EGL/egl.h>

namespace Ostrivane {
namespace GaussianBlur {

namespace {

using IsFunction = unsigned char (*)(unsigned int);

int count(const char* name, unsigned int maxName) {
    const IsFunction is = reinterpret_cast<IsFunction>(eglGetProcAddress(name));
    if (is == nullptr) return -1;
    int live = 0;
    for (unsigned int object = 1; object <= maxName; ++object) live += is(object) ? 1 : 0;
    return live;
}

}  // namespace

ObjectCensus ObjectCensus::take(unsigned int maxName) {
    ObjectCensus census;
    census.textures = count("glIsTexture", maxName);
    census.buffers = count("glIsBuffer", maxName);
    census.renderbuffers = count("glIsRenderbuffer", maxName);
    census.framebuffers = count("glIsFramebuffer", maxName);
    census.vertexArrays = count("glIsVertexArray", maxName);
    census.programs = count("glIsProgram", maxName);
    census.shaders = count("glIsShader", maxName);
    return census;
}

int ObjectCensus::total() const {
    return textures + buffers + renderbuffers + framebuffers + vertexArrays + programs + shaders;
}

bool ObjectCensus::operator==(const ObjectCensus& other) const {
    return textures == other.textures && buffers == other.buffers && renderbuffers == other.renderbuffers &&
           framebuffers == other.framebuffers && vertexArrays == other.vertexArrays &&
           programs == other.programs && shaders == other.shaders;
}

std::string ObjectCensus::describe() const {
    return "textures " + std::to_string(textures) + ", buffers " + std::to_string(buffers) +
           ", renderbuffers " + std::to_string(renderbuffers) + ", framebuffers " +
           std::to_string(framebuffers) + ", vertex arrays " + std::to_string(vertexArrays) + ", programs " +
           std::to_string(programs) + ", shaders " + std::to_string(shaders);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
