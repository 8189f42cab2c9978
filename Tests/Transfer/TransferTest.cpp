#include <new>
#include <vector>

#include "AEOpenGLUtilities.h"
#include "FaultPlan.h"
#include "GLFixture.h"
#include "HostSuites.h"
#include "HostWorld.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;
using fxhost::Callback;
using fxhost::Depth;
using fxhost::HostWorld;

namespace {

// The stand-in host hands out a world's memory only to the matching depth.
PF_Err pixelData8(PF_EffectWorld* world, PF_PixelPtr, PF_Pixel8** pixels) {
    const HostWorld* owner = HostWorld::fromDef(world);
    *pixels = owner && owner->depth() == Depth::Eight ? static_cast<PF_Pixel8*>(world->data) : nullptr;
    return *pixels ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err pixelData16(PF_EffectWorld* world, PF_PixelPtr, PF_Pixel16** pixels) {
    const HostWorld* owner = HostWorld::fromDef(world);
    *pixels = owner && owner->depth() == Depth::Sixteen ? static_cast<PF_Pixel16*>(world->data) : nullptr;
    return *pixels ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

GLint integer(GLenum name) {
    GLint value = -1;
    glGetIntegerv(name, &value);
    return value;
}

// `call` throws the int `code`, and nothing else.
template <typename Call>
void expectCode(int code, const char* what, Call call) {
    try {
        call();
        ADD_FAILURE() << what << ": nothing thrown";
    } catch (int thrown) {
        EXPECT_EQ(thrown, code) << what;
    }
}

// A 3 x 2 world, padded rows, A, R, G, B; scale is what GL divides by, and values[y][x][c]
// reach texture channel c of texel (x, y) as value / scale.
struct Sample {
    Depth depth;
    float scale;
    float values[2][3][4];
};

const Sample kSamples[] = {
    {Depth::Eight,
     255.0f,
     {{{255, 0, 51, 102}, {128, 1, 2, 3}, {0, 255, 254, 253}},
      {{10, 20, 30, 40}, {200, 100, 50, 25}, {7, 77, 177, 255}}}},
    {Depth::Sixteen,
     65535.0f,
     {{{32768, 0, 16384, 1}, {100, 200, 300, 400}, {0, 32768, 32767, 12345}},
      {{1, 2, 3, 4}, {32768, 32768, 32768, 32768}, {8192, 4096, 2048, 1024}}}},
    {Depth::Float,
     1.0f,
     {{{1.0f, 0.25f, -0.5f, 2.75f}, {0.0f, 1e-6f, 100.5f, -3.0f}, {0.5f, 0.5f, 0.5f, 0.5f}},
      {{-1.0f, 0.125f, 7.0f, 0.0f}, {0.3f, 0.6f, 0.9f, 1.2f}, {65535.0f, -0.0f, 1.5f, 1.0f}}}},
};

class TransferTest : public GLFixture {
protected:
    void SetUp() override {
        GLFixture::SetUp();
        mUtils.get_pixel_data8 = pixelData8;
        mUtils.get_pixel_data16 = pixelData16;
        mInData.utils = &mUtils;
        mInData.pica_basicP = mSuites.basicSuite();
    }

    // Every call, failed or not, gives back what it took from the host.
    void TearDown() override {
        EXPECT_EQ(mSuites.unbalanced(), "");
        EXPECT_EQ(mSuites.liveHandles(), 0);
    }

    unsigned int upload(HostWorld& world) { return upload(world.pixelFormat(), world.def()); }

    unsigned int upload(int format, PF_LayerDef* def) {
        return AEOpenGLUtilities::UploadTexture(format, def, nullptr, &mInData, mPixelSize, mPixelType,
                                                mMultiplier, false);
    }

    void download(int width, int height, HostWorld& output, int format) {
        AEOpenGLUtilities::DownloadTexture(width, height, mSource, output.def(), &mInData, format, mPixelSize,
                                           mPixelType);
    }

    // Uploads the world and binds a frame buffer holding the texture for reading, as a frame leaves it.
    void uploadAndBind(HostWorld& world) {
        mTexture = upload(world);
        mSource = world.def();
        glGenFramebuffers(1, &mFramebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, mTexture, 0);
    }

    void unbind() {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDeleteFramebuffers(1, &mFramebuffer);
        glDeleteTextures(1, &mTexture);
    }

    static void fill(HostWorld& world, const Sample& sample) {
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) world.setPixel(x, y, sample.values[y][x]);
    }

    static void expectPixel(const HostWorld& world, int x, int y, const float argb[4]) {
        float actual[4];
        world.getPixel(x, y, actual);
        for (int c = 0; c < 4; ++c)
            EXPECT_EQ(actual[c], argb[c]) << "pixel " << x << "," << y << " channel " << c;
    }

    fxhost::FaultPlan mFaults;
    fxhost::HostSuites mSuites{mFaults};
    PF_UtilCallbacks mUtils{};
    PF_InData mInData{};
    unsigned long mPixelSize = 0;
    GLenum mPixelType = GL_NONE;
    float mMultiplier = 0.0f;
    GLuint mTexture = 0;
    GLuint mFramebuffer = 0;
    PF_LayerDef* mSource = nullptr;  // the world behind the bound frame buffer
};

// Upload leaves no texture bound and no row length set; 16-bit 32768 comes in as 1 after the multiplier.
TEST_F(TransferTest, PaddedWorldsRoundTripAtEveryDepthWithoutReorderingOrTouchingPadding) {
    const unsigned long sizes[] = {4, 8, 16};
    const GLenum types[] = {GL_UNSIGNED_BYTE, GL_UNSIGNED_SHORT, GL_FLOAT};
    for (int d = 0; d < 3; ++d) {
        const Sample& sample = kSamples[d];
        SCOPED_TRACE(d);
        HostWorld input(3, 2, sample.depth, 20);
        fill(input, sample);
        uploadAndBind(input);
        EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
        EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH), 0);
        EXPECT_EQ(mPixelSize, sizes[d]);
        EXPECT_EQ(mPixelType, types[d]);
        EXPECT_EQ(mMultiplier, d == 1 ? 1.999969482421875f : 1.0f);
        for (bool mipmap : {false, true}) {
            const GLuint texture =
                AEOpenGLUtilities::UploadTexture(input.pixelFormat(), input.def(), nullptr, &mInData,
                                                 mPixelSize, mPixelType, mMultiplier, mipmap);
            glBindTexture(GL_TEXTURE_2D, texture);
            GLint filter = 0;
            glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &filter);
            EXPECT_EQ(filter, static_cast<GLint>(mipmap ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR));
            glBindTexture(GL_TEXTURE_2D, 0);
            glDeleteTextures(1, &texture);
        }
        const std::vector<float> texels = readPixels(3, 2);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x)
                for (int c = 0; c < 4; ++c)
                    EXPECT_FLOAT_EQ(texels[(y * 3 + x) * 4 + c], sample.values[y][x][c] / sample.scale)
                        << x << "," << y;

        HostWorld output(3, 2, sample.depth, 36);
        download(3, 2, output, input.pixelFormat());
        unbind();
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) expectPixel(output, x, y, sample.values[y][x]);
        EXPECT_TRUE(input.guardsIntact());
        EXPECT_TRUE(output.guardsIntact());
    }
}

TEST_F(TransferTest, DownloadWritesOnlyTheOverlapOfReadBackAndOutput) {
    const float marker[4] = {9, 9, 9, 9};
    for (int d : {0, 2}) {  // the row copy and the iterate copy
        const Sample& sample = kSamples[d];
        HostWorld input(3, 2, sample.depth);
        fill(input, sample);
        uploadAndBind(input);
        HostWorld smaller(2, 1, sample.depth);
        HostWorld larger(4, 3, sample.depth);
        larger.fill(marker);
        download(3, 2, smaller, input.pixelFormat());
        download(3, 2, larger, input.pixelFormat());
        unbind();
        expectPixel(smaller, 0, 0, sample.values[0][0]);
        expectPixel(smaller, 1, 0, sample.values[0][1]);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x)
                expectPixel(larger, x, y, x < 3 && y < 2 ? sample.values[y][x] : marker);
        EXPECT_TRUE(smaller.guardsIntact());
        EXPECT_TRUE(larger.guardsIntact());
    }
}

TEST_F(TransferTest, HostFailuresAreThrownAndLeaveNothingBehind) {
    HostWorld input(3, 2, Depth::Float);
    uploadAndBind(input);
    HostWorld output(3, 2, Depth::Float);

    mFaults.faults.push_back({Callback::Iterate, PF_Err_INTERNAL_STRUCT_DAMAGED});
    GLuint probe = 0;  // the names a leaked texture would take
    glGenTextures(1, &probe);
    glDeleteTextures(1, &probe);
    expectCode(PF_Err_INTERNAL_STRUCT_DAMAGED, "iterate fails, upload", [&] { upload(input); });
    for (GLuint name = probe; name < probe + 4; ++name) EXPECT_FALSE(glIsTexture(name)) << name;
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
    EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH), 0);
    expectCode(PF_Err_INTERNAL_STRUCT_DAMAGED, "iterate fails, download",
               [&] { download(3, 2, output, PF_PixelFormat_ARGB128); });
    mFaults.clear();
    unbind();
    EXPECT_TRUE(output.guardsIntact());
}

// Rows one byte shorter than their pixels, at every depth, both ways: refused before anything is
// read or written.
TEST_F(TransferTest, RowsShorterThanTheirPixelsAreRefusedAtEveryDepth) {
    for (const Sample& sample : kSamples) {
        HostWorld world(3, 2, sample.depth, 0);
        fill(world, sample);
        const std::vector<uint8_t> before = world.pixelBytes();
        world.def()->rowbytes = static_cast<A_long>(3 * HostWorld::pixelSize(sample.depth) - 1);
        SCOPED_TRACE(world.def()->rowbytes);
        mSuites.resetCalls();
        expectCode(516, "upload", [&] { upload(world); });
        expectCode(516, "download", [&] { download(3, 2, world, world.pixelFormat()); });
        EXPECT_EQ(mSuites.calls(Callback::Iterate), 0);
        EXPECT_EQ(world.pixelBytes(), before);
        EXPECT_TRUE(world.guardsIntact());
    }
}

}  // namespace
