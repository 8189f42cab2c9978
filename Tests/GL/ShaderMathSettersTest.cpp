#include "Affine.h"
#include "Color.h"
#include "GLFixture.h"
#include "Mat4.h"
#include "OpenglShader.h"
#include "Vec4.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

const char* const kVertex =
    "#version 330\nvoid main() {"
    " gl_Position = vec4((gl_VertexID & 1) * 4 - 1, (gl_VertexID & 2) * 2 - 1, 0.0, 1.0); }";
// Pixel x shows column x of `transform`; the branch keeps the other uniforms active for glGetUniformfv.
const char* const kFragment = R"(#version 330
uniform int pick;
uniform mat3 transform;
uniform mat3 transforms[2];
uniform mat4 matrices[2];
uniform vec3 v3;
uniform vec4 colour;
out vec4 colourOut;
void main() {
    colourOut = vec4(transform[int(gl_FragCoord.x)], 1.0);
    if (pick == 1)
        colourOut = vec4(transforms[1][2] + v3, 0.0) + matrices[0][0] + matrices[1][0] + colour;
})";

class ShaderMathSettersTest : public GLFixture {
protected:
    std::vector<float> uniform(const char* name, size_t count) {
        std::vector<float> values(count, -9.0f);
        glGetUniformfv(mShader.program(), mShader.getUniformLocation(name), values.data());
        return values;
    }

    OpenglShader mShader{kVertex, kFragment};
};

TEST_F(ShaderMathSettersTest, AnAffineTranslationReachesTheShaderInTheThirdColumn) {
    mShader.useProgram();
    // Columns (2, 3), (4, 6) and the translation (5, -7).
    Affine transform(2.0, 3.0, 4.0, 6.0, 5.0, -7.0);
    mShader.setUniformMatrix3f("transform", &transform, 1);
    GLuint vertexArray = 0;
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);
    FloatTarget target = makeFloatTarget(3, 1);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    const std::vector<float> columns = readPixels(3, 1);
    deleteFloatTarget(target);
    glDeleteVertexArrays(1, &vertexArray);
    EXPECT_RGBA_NEAR(pixel(columns, 0), 2.0f, 3.0f, 0.0f, 1.0f, 0.0f);
    EXPECT_RGBA_NEAR(pixel(columns, 1), 4.0f, 6.0f, 0.0f, 1.0f, 0.0f);
    EXPECT_RGBA_NEAR(pixel(columns, 2), 5.0f, -7.0f, 1.0f, 1.0f, 0.0f);
}

TEST_F(ShaderMathSettersTest, ArraysMat4CountsAndNarrowing) {
    mShader.useProgram();
    Affine pair[2];
    pair[1].setTranslate(0.1, 8.0);
    mShader.setUniformMatrix3f("transforms", pair, 2);
    EXPECT_EQ(uniform("transforms[1]", 9), std::vector<float>({1, 0, 0, 0, 1, 0, 0.1f, 8, 1}));

    // Stored order, untransposed; a count above 1 fills the first element only, below 1 nothing.
    Mat4 m;
    for (int i = 0; i < 16; ++i) m.e[i] = i + 0.5;
    mShader.setUniformMatrix4f("matrices", m, 2);
    const std::vector<float> first = uniform("matrices[0]", 16);
    EXPECT_EQ(first[1], 1.5f);
    EXPECT_EQ(first[12], 12.5f);
    EXPECT_EQ(uniform("matrices[1]", 16), std::vector<float>(16, 0.0f));
    mShader.setUniformMatrix4f("matrices", Mat4(), 0);
    EXPECT_EQ(uniform("matrices[0]", 16), first);

    mShader.setUniform3f("v3", Vec3(1.0 / 3.0, 4.0, 0.1));
    EXPECT_EQ(uniform("v3", 3), std::vector<float>({1.0f / 3.0f, 4.0f, 0.1f}));
    mShader.setUniform4f("colour", Color());
    EXPECT_EQ(uniform("colour", 4), std::vector<float>({1.0f, 1.0f, 1.0f, 1.0f}));
}

}  // namespace
