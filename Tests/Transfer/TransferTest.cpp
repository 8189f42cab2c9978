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
template <typename Pixel, Depth kDepth>
PF_Err pixelData(PF_EffectWorld* world, PF_PixelPtr, Pixel** pixels) {
    const HostWorld* owner = HostWorld::fromDef(world);
    *pixels = owner && owner->depth() == kDepth ? static_cast<Pixel*>(world->data) : nullptr;
    return *pixels ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
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
        mUtils.get_pixel_data8 = pixelData<PF_Pixel8, Depth::Eight>;
        mUtils.get_pixel_data16 = pixelData<PF_Pixel16, Depth::Sixteen>;
        mInData.utils = &mUtils;
        mInData.pica_basicP = mSuites.basicSuite();
    }

    // Every call, failed or not, gives back what it took from the host.
    void TearDown() override {
        EXPECT_EQ(mSuites.unbalanced(), "");
        EXPECT_EQ(mSuites.liveHandles(), 0);
    }

    unsigned int upload(HostWorld& world, bool mipmap = false) {
        return AEOpenGLUtilities::UploadTexture(world.pixelFormat(), world.def(), nullptr, &mInData,
                                                mPixelSize, mPixelType, mMultiplier, mipmap);
    }

    // Reads 3 x 2 pixels back into `output`.
    void download(HostWorld& output) {
        AEOpenGLUtilities::DownloadTexture(3, 2, mSource, output.def(), &mInData, output.pixelFormat(),
                                           mPixelSize, mPixelType);
    }

    // Uploads the world and binds a frame buffer holding the texture for reading, as a frame leaves it.
    void uploadAndBind(HostWorld& world, bool mipmap = false) {
        mTexture = upload(world, mipmap);
        mSource = world.def();
        mFramebuffer = bindFramebuffer(mTexture);
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

// Upload leaves no texture bound and no row length set; 16-bit 32768 comes in as 1 after the multiplier;
// the mipmap filter is asked for at 16 bits.
TEST_F(TransferTest, PaddedWorldsRoundTripAtEveryDepthWithoutReorderingOrTouchingPadding) {
    const unsigned long sizes[] = {4, 8, 16};
    const GLenum types[] = {GL_UNSIGNED_BYTE, GL_UNSIGNED_SHORT, GL_FLOAT};
    for (int d = 0; d < 3; ++d) {
        const Sample& sample = kSamples[d];
        SCOPED_TRACE(d);
        HostWorld input(3, 2, sample.depth, 20);
        fill(input, sample);
        const bool mipmap = d == 1;
        uploadAndBind(input, mipmap);
        EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
        EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH), 0);
        EXPECT_EQ(mPixelSize, sizes[d]);
        EXPECT_EQ(mPixelType, types[d]);
        EXPECT_EQ(mMultiplier, d == 1 ? 1.999969482421875f : 1.0f);
        GLint filter = 0;
        glBindTexture(GL_TEXTURE_2D, mTexture);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &filter);
        glBindTexture(GL_TEXTURE_2D, 0);
        EXPECT_EQ(filter, static_cast<GLint>(mipmap ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR));
        const std::vector<float> texels = readPixels(3, 2);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x)
                for (int c = 0; c < 4; ++c)
                    EXPECT_FLOAT_EQ(texels[(y * 3 + x) * 4 + c], sample.values[y][x][c] / sample.scale)
                        << x << "," << y;

        HostWorld output(3, 2, sample.depth, 36);
        download(output);
        deleteFramebuffer(mFramebuffer, mTexture);
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
        download(smaller);
        download(larger);
        deleteFramebuffer(mFramebuffer, mTexture);
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
    expectCode(PF_Err_INTERNAL_STRUCT_DAMAGED, "iterate fails, download", [&] { download(output); });
    mFaults.clear();
    deleteFramebuffer(mFramebuffer, mTexture);
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
        expectCode(516, "download", [&] { download(world); });
        EXPECT_EQ(mSuites.calls(Callback::Iterate), 0);
        EXPECT_EQ(world.pixelBytes(), before);
        EXPECT_TRUE(world.guardsIntact());
    }
}

}  // namespace
