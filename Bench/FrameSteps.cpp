#include "FrameSteps.h"

#include <chrono>

#include <glbinding/gl/gl.h>

#include "AEOpenGLUtilities.h"
#include "AEOpenglMainFrameBuffer.h"
#include "BenchFrame.h"

using namespace gl;

namespace Ostrivane {
namespace GaussianBlur {

namespace {

PF_Err pixelData8(PF_EffectWorld* world, PF_PixelPtr, PF_Pixel8** pixels) {
    *pixels = static_cast<PF_Pixel8*>(world->data);
    return PF_Err_NONE;
}

class Lap {
public:
    // Finishes the GL work so far and gives the milliseconds since the last lap.
    double next() {
        glFinish();
        const auto now = std::chrono::steady_clock::now();
        const double ms = std::chrono::duration<double, std::milli>(now - mLast).count();
        mLast = now;
        return ms;
    }

private:
    std::chrono::steady_clock::time_point mLast = std::chrono::steady_clock::now();
};

}  // namespace

FrameSteps::FrameSteps(int width, int height)
    : mWidth(width),
      mHeight(height),
      mContext(new AEOpenGLContext(nullptr)),
      mSuites(mFaults),
      mUtils(),
      mInData(),
      mInput(width, height, fxhost::Depth::Eight),
      mOutput(width, height, fxhost::Depth::Eight) {
    BenchFrame::fill(mInput);
    mUtils.get_pixel_data8 = pixelData8;
    mInData.utils = &mUtils;
    mInData.pica_basicP = mSuites.basicSuite();
    mRender.setHue(static_cast<float>(BenchFrame::kHueDegrees));
    mRender.setSaturation(static_cast<float>(BenchFrame::kSaturation));
    glGenFramebuffers(1, &mResultFramebuffer);
    glGenRenderbuffers(1, &mResultRenderbuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, mResultRenderbuffer);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA, width, height);
}

FrameSteps::~FrameSteps() {
    mContext->makeContextCurrent();
    glDeleteFramebuffers(1, &mResultFramebuffer);
    glDeleteRenderbuffers(1, &mResultRenderbuffer);
}

FrameSteps::Times FrameSteps::run() {
    mContext->makeContextCurrent();
    AEOpenglMainFrameBuffer* frameBuffer = AEOpenglMainFrameBuffer::mainFrameBuffer();
    unsigned long pixelSize = 4;
    GLenum pixelType = GL_UNSIGNED_BYTE;
    float multiplier16bit = 1.0f;
    Times times;
    Lap lap;

    frameBuffer->prepare(mWidth, mHeight, true);
    frameBuffer->beginDrawing();
    times.begin = lap.next();

    GLuint texture = AEOpenGLUtilities::UploadTexture(PF_PixelFormat_ARGB32, mInput.def(), mOutput.def(),
                                                      &mInData, pixelSize, pixelType, multiplier16bit, false);
    times.upload = lap.next();

    mRender.draw(texture, multiplier16bit);
    glDeleteTextures(1, &texture);
    times.draw = lap.next();

    GLuint resolved = frameBuffer->popRenderContext();
    times.resolve = lap.next();

    // endDrawing from its second step on, into this replay's result.
    glBindFramebuffer(GL_FRAMEBUFFER, mResultFramebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, mResultRenderbuffer);
    glDisable(GL_BLEND);
    glDisable(GL_MULTISAMPLE);
    glClear(GL_COLOR_BUFFER_BIT);
    mScreenRender.draw(resolved, multiplier16bit);
    glDeleteTextures(1, &resolved);
    times.finalPass = lap.next();

    AEOpenGLUtilities::DownloadTexture(static_cast<unsigned int>(mWidth), static_cast<unsigned int>(mHeight),
                                       mInput.def(), mOutput.def(), &mInData, PF_PixelFormat_ARGB32,
                                       pixelSize, pixelType);
    times.readBack = lap.next();
    return times;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
