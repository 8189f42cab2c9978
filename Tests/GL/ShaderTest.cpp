#include <set>
#include <string>

#include "GLFixture.h"
#include "OpenglShader.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

const char* const kVertex =
    "#version 330\nin vec2 position; void main() { gl_Position = vec4(position, 0.0, 1.0); }";
const char* const kFragment =
    "#version 330\nuniform vec4 colour; out vec4 colourOut; void main() { colourOut = colour; }";

// Many undeclared names, so the compiler's log runs well past 512 characters.
std::string brokenFragment() {
    std::string source = "#version 330\nout vec4 colourOut; void main() { colourOut = vec4(0.0);";
    for (int i = 0; i < 40; ++i) source += " colourOut.r += undeclaredNameNumber" + std::to_string(i) + ";";
    return source + " }";
}

// Names in use as shader or program objects; the two share one name space. A program deleted
// while in use lives on until another is selected, so none is.
std::set<GLuint> liveShaderAndProgramNames() {
    glUseProgram(0);
    std::set<GLuint> names;
    for (GLuint name = 1; name < 2048; ++name)
        if (glIsShader(name) == GL_TRUE || glIsProgram(name) == GL_TRUE) names.insert(name);
    return names;
}

class ShaderTest : public GLFixture {
protected:
    static GLint attribute(GLuint location, GLenum name) {
        GLint value = -1;
        glGetVertexAttribiv(location, name, &value);
        return value;
    }
};

TEST_F(ShaderTest, ACompileErrorPrintsTheLogCutTo511CharactersAndLeavesNothingBehind) {
    const std::string source = brokenFragment();
    // The full log, from a shader compiled here.
    const GLuint probe = glCreateShader(GL_FRAGMENT_SHADER);
    const GLchar* text = source.c_str();
    glShaderSource(probe, 1, &text, nullptr);
    glCompileShader(probe);
    GLint fullLength = 0;
    glGetShaderiv(probe, GL_INFO_LOG_LENGTH, &fullLength);
    std::string fullLog(static_cast<size_t>(fullLength), '\0');
    glGetShaderInfoLog(probe, fullLength, nullptr, &fullLog[0]);
    glDeleteShader(probe);
    ASSERT_GT(fullLength, 600);

    const std::set<GLuint> before = liveShaderAndProgramNames();
    OpenglShader shader(kVertex, source);
    testing::internal::CaptureStdout();
    shader.useProgram();
    const std::string printed = testing::internal::GetCapturedStdout();

    EXPECT_EQ(printed, "Shader frag error:\n" + fullLog.substr(0, 511) + "\n");
    EXPECT_EQ(shader.program(), 0u);
    EXPECT_EQ(liveShaderAndProgramNames(), before);
    GLint inUse = -1;
    glGetIntegerv(GL_CURRENT_PROGRAM, &inUse);
    EXPECT_EQ(inUse, 0);

    // Unbuilt, every use tries again and says so again.
    testing::internal::CaptureStdout();
    shader.useProgram();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), printed);
}

// Before the build no setter reaches GL; after it a texture goes to its unit and an attribute is
// pointed, and a name the program lacks or -1 (where the setter tests it) makes no call at all.
TEST_F(ShaderTest, SettersReachGLOnlyOnceBuiltAndNeverForAMissingName) {
    OpenglShader shader(kVertex, kFragment);
    GLuint vertexArray = 0, buffer = 0;
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    const GLuint texture = makeTexture(1, 1, {0, 0, 0, 0});
    glActiveTexture(GL_TEXTURE3);
    glBindTexture(GL_TEXTURE_2D, 0);
    shader.setUniformTexture("colour", static_cast<int>(GL_TEXTURE_2D), static_cast<int>(texture), 1);
    shader.setAttribute4fv(5, nullptr, 16);
    EXPECT_EQ(integer(GL_ACTIVE_TEXTURE), static_cast<GLint>(GL_TEXTURE3));
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
    EXPECT_EQ(attribute(5, GL_VERTEX_ATTRIB_ARRAY_ENABLED), 0);

    shader.useProgram();
    shader.setUniformTexture("colour", static_cast<int>(GL_TEXTURE_2D), static_cast<int>(texture), 1);
    EXPECT_EQ(integer(GL_ACTIVE_TEXTURE), static_cast<GLint>(GL_TEXTURE1));
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), static_cast<GLint>(texture));
    shader.setAttribute4fv(5, nullptr, 16);
    EXPECT_EQ(attribute(5, GL_VERTEX_ATTRIB_ARRAY_ENABLED), 1);
    EXPECT_EQ(attribute(5, GL_VERTEX_ATTRIB_ARRAY_SIZE), 4);
    shader.disableVertexAttributeArray(5);
    while (glGetError() != GL_NO_ERROR) {
    }
    shader.setAttribute1iv(-1, nullptr, 4);
    shader.setAttribute1fv(-1, nullptr, 4);
    shader.setAttribute4fv(-1, nullptr, 16);
    for (const char* missing : {"missing", "colour"}) {
        shader.setAttribute1fv(missing, nullptr, 4);
        shader.setAttribute2fv(missing, nullptr, 8);
        shader.setAttribute3fv(missing, nullptr, 12);
        shader.setAttribute4fv(missing, nullptr, 16);
        shader.disableVertexAttributeArray(missing);
    }
    EXPECT_EQ(glGetError(), GL_NO_ERROR);

    glActiveTexture(GL_TEXTURE0);
    glBindVertexArray(0);
    glDeleteVertexArrays(1, &vertexArray);
    glDeleteBuffers(1, &buffer);
    glDeleteTextures(1, &texture);
}

}  // namespace
