#pragma once

#include <map>
#include <string>

namespace Ostrivane {
namespace GaussianBlur {

class Affine;
class Color;
class Mat4;
class Vec2;
class Vec3;
class Vec4;

/// The sources of one GL program, built on the first `useProgram` with a context current; the
/// constructors make no GL call. Every setter is a silent no-op until the program exists and for
/// names it lacks. A failed build prints its log (cut at 511 characters) on standard output,
/// deletes what it made, and is tried again at the next `useProgram`.
class OpenglShader {
public:
    OpenglShader(const std::string& vertexSource, const std::string& fragmentSource);
    OpenglShader(const std::string& vertexSource, const std::string& fragmentSource,
                 const std::string& geometrySource);
    virtual ~OpenglShader();

    OpenglShader(const OpenglShader&) = delete;
    OpenglShader& operator=(const OpenglShader&) = delete;

    /// Binds `name` to attribute `index` at the next link; the first index given for a name stays.
    void addAttributeBinding(const std::string& name, int index);
    void buildShader();
    void useProgram();
    unsigned int program() const { return mProgram; }

    void setUniform1i(const std::string& name, int v0) const;
    void setUniform2i(const std::string& name, int v0, int v1) const;
    void setUniform3i(const std::string& name, int v0, int v1, int v2) const;
    void setUniform4i(const std::string& name, int v0, int v1, int v2, int v3) const;
    void setUniform1f(const std::string& name, float v0) const;
    void setUniform2f(const std::string& name, float v0, float v1) const;
    void setUniform3f(const std::string& name, float v0, float v1, float v2) const;
    void setUniform4f(const std::string& name, float v0, float v1, float v2, float v3) const;
    void setUniform1iv(const std::string& name, const int* values, int count) const;
    void setUniform2iv(const std::string& name, const int* values, int count) const;
    void setUniform3iv(const std::string& name, const int* values, int count) const;
    void setUniform4iv(const std::string& name, const int* values, int count) const;
    void setUniform1fv(const std::string& name, const float* values, int count) const;
    void setUniform2fv(const std::string& name, const float* values, int count) const;
    void setUniform3fv(const std::string& name, const float* values, int count) const;
    void setUniform4fv(const std::string& name, const float* values, int count) const;
    // Math types, narrowed from double to float here; GL sees single precision only.
    void setUniform2f(const std::string& name, const Vec2& v) const;
    void setUniform3f(const std::string& name, const Vec3& v) const;
    void setUniform4f(const std::string& name, const Vec4& v) const;
    /// Red, green, blue, alpha.
    void setUniform4f(const std::string& name, const Color& colour) const;
    /// `count` transforms as 3×3 column-major matrices (the translation in the third column);
    /// nothing is sent for a null array or a count below 1.
    void setUniformMatrix3f(const std::string& name, Affine* transforms, int count) const;
    /// The matrix's 16 elements in stored (column-major) order, untransposed. Only the one matrix
    /// is sent, to the first element of an array uniform, whatever `count` above 1 says; a count
    /// below 1 sends nothing.
    void setUniformMatrix4f(const std::string& name, const Mat4& matrix, int count) const;

    /// Binds `texture` to `target` on unit `unit`, which stays active, and points the sampler there.
    void setUniformTexture(const std::string& name, int target, int texture, int unit) const;

    int getUniformLocation(const std::string& name) const;
    int getAttributeLocation(const std::string& name) const;

    // Attribute setters: `stride` in bytes; with a buffer bound to GL_ARRAY_BUFFER, `data` is a
    // byte offset into it.
    void setAttribute1iv(int location, const int* data, int stride) const;
    void setAttribute1fv(const std::string& name, const float* data, int stride) const;
    void setAttribute1fv(int location, const float* data, int stride) const;
    void setAttribute2fv(const std::string& name, const float* data, int stride) const;
    void setAttribute2fv(int location, const float* data, int stride) const;
    void setAttribute3fv(const std::string& name, const float* data, int stride) const;
    void setAttribute3fv(int location, const float* data, int stride) const;
    void setAttribute4fv(const std::string& name, const float* data, int stride) const;
    void setAttribute4fv(int location, const float* data, int stride) const;
    void disableVertexAttributeArray(const std::string& name) const;
    void disableVertexAttributeArray(int location) const;

private:
    std::string mVertexSource;
    std::string mFragmentSource;
    std::string mGeometrySource;
    unsigned int mProgram = 0;
    std::map<std::string, int> mAttributeBindings;
};

/// Prints the info log of `shader` as "Shader <stage> error:" followed by the log.
void dumpShaderErrorS(unsigned int shader, const char* stage);

}  // namespace GaussianBlur
}  // namespace Ostrivane
