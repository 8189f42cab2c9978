#pragma once

#include <vector>

#include <gtest/gtest.h>

#include <glbinding/gl/gl.h>

#include "AEOpenGLContext.h"

namespace Ostrivane {
namespace GaussianBlur {

/// One headless context for the whole test program, current at the start of every GL test,
/// and the small GL chores the tests share: float textures, frame buffers on them, read-back.
class GLFixture : public ::testing::Test {
public:
    /// Created on first use and kept to the end of the process; it is the root of its share group.
    static AEOpenGLContext* context() {
        static AEOpenGLContext* root = new AEOpenGLContext(nullptr);
        return root;
    }

    /// A GL_RGBA32F texture with nearest filtering, from `rgba` rows bottom first.
    static unsigned int makeTexture(int width, int height, const std::vector<float>& rgba) {
        using namespace gl;
        GLuint texture = 0;
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(GL_NEAREST));
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(GL_NEAREST));
        glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(GL_RGBA32F), width, height, 0, GL_RGBA, GL_FLOAT,
                     rgba.data());
        glBindTexture(GL_TEXTURE_2D, 0);
        return texture;
    }

    /// A new frame buffer with `texture` as its colour, bound for drawing and reading.
    static unsigned int bindFramebuffer(unsigned int texture) {
        using namespace gl;
        GLuint framebuffer = 0;
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
        return framebuffer;
    }

    /// Binds the default frame buffer and deletes `framebuffer` and `texture`.
    static void deleteFramebuffer(unsigned int framebuffer, unsigned int texture) {
        gl::glBindFramebuffer(gl::GL_FRAMEBUFFER, 0);
        gl::glDeleteFramebuffers(1, &framebuffer);
        gl::glDeleteTextures(1, &texture);
    }

    /// RGBA floats of the bound read frame buffer, rows bottom first.
    static std::vector<float> readPixels(int width, int height) {
        using namespace gl;
        std::vector<float> pixels(static_cast<size_t>(width * height * 4), -1.0f);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, width, height, GL_RGBA, GL_FLOAT, pixels.data());
        return pixels;
    }

    /// RGBA floats of level 0 of `texture`, `count` texels.
    static std::vector<float> texels(unsigned int texture, int count) {
        using namespace gl;
        std::vector<float> values(static_cast<size_t>(count * 4), -9.0f);
        glBindTexture(GL_TEXTURE_2D, texture);
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, values.data());
        glBindTexture(GL_TEXTURE_2D, 0);
        return values;
    }

    /// Entry `index` of the integer state `name`.
    static gl::GLint integer(gl::GLenum name, int index = 0) {
        gl::GLint value[4] = {-1, -1, -1, -1};
        gl::glGetIntegerv(name, value);
        return value[index];
    }

    /// The four channels of pixel `index` from `pixels`.
    static std::vector<float> pixel(const std::vector<float>& pixels, size_t index) {
        return std::vector<float>(pixels.begin() + static_cast<long>(index * 4),
                                  pixels.begin() + static_cast<long>(index * 4 + 4));
    }

protected:
    void SetUp() override { context()->makeContextCurrent(); }
};

}  // namespace GaussianBlur
}  // namespace Ostrivane

#define EXPECT_RGBA_NEAR(actual, r, g, b, a, tolerance) \
    do {                                                \
        const std::vector<float> value_ = (actual);     \
        ASSERT_EQ(value_.size(), 4u);                   \
        EXPECT_NEAR(value_[0], (r), (tolerance));       \
        EXPECT_NEAR(value_[1], (g), (tolerance));       \
        EXPECT_NEAR(value_[2], (b), (tolerance));       \
        EXPECT_NEAR(value_[3], (a), (tolerance));       \
    } while (false)
