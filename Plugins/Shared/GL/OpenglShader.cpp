#include "OpenglShader.h"

#include <cstddef>
#include <cstdio>
#include <vector>

#include <glbinding/gl/gl.h>

#include "Affine.h"
#include "Color.h"
#include "Mat4.h"
#include "Vec2.h"
#include "Vec3.h"
#include "Vec4.h"

using namespace gl;

namespace Ostrivane {
namespace GaussianBlur {

namespace {

const GLsizei kLogSize = 512;

bool compile(GLuint shader, const std::string& source, const char* stage) {
    const GLchar* text = source.c_str();
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    GLint status = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
    if (status != 1) {
        dumpShaderErrorS(shader, stage);
        return false;
    }
    return true;
}

void deleteShaders(const std::vector<GLuint>& shaders) {
    for (GLuint shader : shaders)
        if (shader != 0) glDeleteShader(shader);
}

void enableAndPoint(int location, GLint size, GLenum type, int stride, const void* data) {
    glEnableVertexAttribArray(static_cast<GLuint>(location));
    glVertexAttribPointer(static_cast<GLuint>(location), size, type, GL_FALSE, stride, data);
}

}  // namespace

void dumpShaderErrorS(unsigned int shader, const char* stage) {
    GLchar buffer[kLogSize + 1] = {};
    GLsizei length = 0;
    glGetShaderInfoLog(shader, kLogSize, &length, buffer);
    if (length > kLogSize) length = kLogSize;
    buffer[length < 0 ? 0 : length] = '\0';
    std::printf("Shader %s error:\n%s\n", stage, buffer);
    std::fflush(stdout);
}

OpenglShader::OpenglShader(const std::string& vertexSource, const std::string& fragmentSource)
    : mVertexSource(vertexSource), mFragmentSource(fragmentSource) {}

OpenglShader::OpenglShader(const std::string& vertexSource, const std::string& fragmentSource,
                           const std::string& geometrySource)
    : mVertexSource(vertexSource), mFragmentSource(fragmentSource), mGeometrySource(geometrySource) {}

OpenglShader::~OpenglShader() {
    if (mProgram != 0) glDeleteProgram(mProgram);
}

void OpenglShader::addAttributeBinding(const std::string& name, int index) {
    mAttributeBindings.insert(std::make_pair(name, index));
}

void OpenglShader::buildShader() {
    const bool hasGeometry = !mGeometrySource.empty();
    const GLuint vertex = glCreateShader(GL_VERTEX_SHADER);
    const GLuint fragment = glCreateShader(GL_FRAGMENT_SHADER);
    const GLuint geometry = hasGeometry ? glCreateShader(GL_GEOMETRY_SHADER) : 0;
    const std::vector<GLuint> shaders = {vertex, fragment, geometry};

    // A failed build deletes everything it made, so that retrying on every draw leaks nothing.
    if (!compile(vertex, mVertexSource, "vert") || !compile(fragment, mFragmentSource, "frag") ||
        (hasGeometry && !compile(geometry, mGeometrySource, "geo"))) {
        deleteShaders(shaders);
        return;
    }

    const GLuint program = glCreateProgram();
    glAttachShader(program, vertex);
    glAttachShader(program, fragment);
    if (hasGeometry) glAttachShader(program, geometry);
    for (const auto& binding : mAttributeBindings)
        glBindAttribLocation(program, static_cast<GLuint>(binding.second), binding.first.c_str());

    glLinkProgram(program);
    GLint status = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &status);
    if (status != 1) {
        GLchar buffer[kLogSize + 1] = {};
        GLsizei length = 0;
        glGetProgramInfoLog(program, kLogSize, &length, buffer);
        if (length > kLogSize) length = kLogSize;
        buffer[length < 0 ? 0 : length] = '\0';
        std::printf("Program error:\n%s\n", buffer);
        std::fflush(stdout);
        glDeleteProgram(program);
        deleteShaders(shaders);
        return;
    }

    mProgram = program;
    glDetachShader(program, vertex);
    glDetachShader(program, fragment);
    glDeleteShader(vertex);
    glDeleteShader(fragment);
    if (hasGeometry) {
        glDetachShader(program, geometry);
        glDeleteShader(geometry);
    }
}

void OpenglShader::useProgram() {
    if (mProgram == 0) buildShader();
    glUseProgram(mProgram);
}

int OpenglShader::getUniformLocation(const std::string& name) const {
    if (mProgram == 0) return -1;
    return glGetUniformLocation(mProgram, name.c_str());
}

int OpenglShader::getAttributeLocation(const std::string& name) const {
    return glGetAttribLocation(mProgram, name.c_str());
}

void OpenglShader::setUniform1i(const std::string& name, int v0) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform1i(location, v0);
}

void OpenglShader::setUniform2i(const std::string& name, int v0, int v1) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform2i(location, v0, v1);
}

void OpenglShader::setUniform3i(const std::string& name, int v0, int v1, int v2) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform3i(location, v0, v1, v2);
}

void OpenglShader::setUniform4i(const std::string& name, int v0, int v1, int v2, int v3) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform4i(location, v0, v1, v2, v3);
}

void OpenglShader::setUniform1f(const std::string& name, float v0) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform1f(location, v0);
}

void OpenglShader::setUniform2f(const std::string& name, float v0, float v1) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform2f(location, v0, v1);
}

void OpenglShader::setUniform3f(const std::string& name, float v0, float v1, float v2) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform3f(location, v0, v1, v2);
}

void OpenglShader::setUniform4f(const std::string& name, float v0, float v1, float v2, float v3) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform4f(location, v0, v1, v2, v3);
}

void OpenglShader::setUniform1iv(const std::string& name, const int* values, int count) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform1iv(location, count, values);
}

void OpenglShader::setUniform2iv(const std::string& name, const int* values, int count) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform2iv(location, count, values);
}

void OpenglShader::setUniform3iv(const std::string& name, const int* values, int count) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform3iv(location, count, values);
}

void OpenglShader::setUniform4iv(const std::string& name, const int* values, int count) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform4iv(location, count, values);
}

void OpenglShader::setUniform1fv(const std::string& name, const float* values, int count) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform1fv(location, count, values);
}

void OpenglShader::setUniform2fv(const std::string& name, const float* values, int count) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform2fv(location, count, values);
}

void OpenglShader::setUniform3fv(const std::string& name, const float* values, int count) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform3fv(location, count, values);
}

void OpenglShader::setUniform4fv(const std::string& name, const float* values, int count) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) glUniform4fv(location, count, values);
}

void OpenglShader::setUniform2f(const std::string& name, const Vec2& v) const {
    setUniform2f(name, static_cast<float>(v.x), static_cast<float>(v.y));
}

void OpenglShader::setUniform3f(const std::string& name, const Vec3& v) const {
    setUniform3f(name, static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z));
}

void OpenglShader::setUniform4f(const std::string& name, const Vec4& v) const {
    setUniform4f(name, static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z),
                 static_cast<float>(v.w));
}

void OpenglShader::setUniform4f(const std::string& name, const Color& colour) const {
    setUniform4f(name, static_cast<float>(colour.r()), static_cast<float>(colour.g()),
                 static_cast<float>(colour.b()), static_cast<float>(colour.a()));
}

void OpenglShader::setUniformMatrix3f(const std::string& name, Affine* transforms, int count) const {
    const GLint location = getUniformLocation(name);
    if (location == -1 || transforms == nullptr || count < 1) return;
    std::vector<float> floats(static_cast<std::size_t>(count) * 9);
    for (int i = 0; i < count; ++i) {
        // Rows (m0 m1 m2) and (m3 m4 m5) over (0 0 1), written column by column.
        const double* m = transforms[i].m;
        float* out = &floats[static_cast<std::size_t>(i) * 9];
        out[0] = static_cast<float>(m[0]);
        out[1] = static_cast<float>(m[3]);
        out[2] = 0.0f;
        out[3] = static_cast<float>(m[1]);
        out[4] = static_cast<float>(m[4]);
        out[5] = 0.0f;
        out[6] = static_cast<float>(m[2]);
        out[7] = static_cast<float>(m[5]);
        out[8] = 1.0f;
    }
    glUniformMatrix3fv(location, count, GL_FALSE, floats.data());
}

void OpenglShader::setUniformMatrix4f(const std::string& name, const Mat4& matrix, int count) const {
    const GLint location = getUniformLocation(name);
    if (location == -1 || count < 1) return;
    // One matrix is converted, so GL is never told to read past its 16 floats.
    float floats[16];
    for (int i = 0; i < 16; ++i) floats[i] = static_cast<float>(matrix.e[i]);
    glUniformMatrix4fv(location, 1, GL_FALSE, floats);
}

void OpenglShader::setUniformTexture(const std::string& name, int target, int texture, int unit) const {
    if (mProgram == 0) return;
    glActiveTexture(
        static_cast<GLenum>(static_cast<unsigned int>(GL_TEXTURE0) + static_cast<unsigned int>(unit)));
    glBindTexture(static_cast<GLenum>(target), static_cast<GLuint>(texture));
    setUniform1i(name, unit);
}

void OpenglShader::setAttribute1iv(int location, const int* data, int stride) const {
    if (mProgram == 0 || location == -1) return;
    enableAndPoint(location, 1, GL_INT, stride, data);
}

void OpenglShader::setAttribute1fv(const std::string& name, const float* data, int stride) const {
    if (mProgram == 0) return;
    const GLint location = glGetAttribLocation(mProgram, name.c_str());
    if (location != -1) enableAndPoint(location, 1, GL_FLOAT, stride, data);
}

void OpenglShader::setAttribute1fv(int location, const float* data, int stride) const {
    if (mProgram == 0 || location == -1) return;
    enableAndPoint(location, 1, GL_FLOAT, stride, data);
}

void OpenglShader::setAttribute2fv(const std::string& name, const float* data, int stride) const {
    if (mProgram == 0) return;
    const GLint location = glGetAttribLocation(mProgram, name.c_str());
    if (location != -1) enableAndPoint(location, 2, GL_FLOAT, stride, data);
}

void OpenglShader::setAttribute2fv(int location, const float* data, int stride) const {
    if (mProgram == 0) return;
    enableAndPoint(location, 2, GL_FLOAT, stride, data);
}

void OpenglShader::setAttribute3fv(const std::string& name, const float* data, int stride) const {
    if (mProgram == 0) return;
    const GLint location = glGetAttribLocation(mProgram, name.c_str());
    if (location != -1) enableAndPoint(location, 3, GL_FLOAT, stride, data);
}

void OpenglShader::setAttribute3fv(int location, const float* data, int stride) const {
    if (mProgram == 0) return;
    enableAndPoint(location, 3, GL_FLOAT, stride, data);
}

void OpenglShader::setAttribute4fv(const std::string& name, const float* data, int stride) const {
    if (mProgram == 0) return;
    const GLint location = glGetAttribLocation(mProgram, name.c_str());
    if (location != -1) enableAndPoint(location, 4, GL_FLOAT, stride, data);
}

void OpenglShader::setAttribute4fv(int location, const float* data, int stride) const {
    if (mProgram == 0 || location == -1) return;
    enableAndPoint(location, 4, GL_FLOAT, stride, data);
}

void OpenglShader::disableVertexAttributeArray(const std::string& name) const {
    if (mProgram == 0) return;
    const GLint location = glGetAttribLocation(mProgram, name.c_str());
    if (location != -1) glDisableVertexAttribArray(static_cast<GLuint>(location));
}

void OpenglShader::disableVertexAttributeArray(int location) const {
    if (mProgram == 0) return;
    glDisableVertexAttribArray(static_cast<GLuint>(location));
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
