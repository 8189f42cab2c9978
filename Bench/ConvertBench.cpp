// A 1080p 4:2:0 BT.709 frame's round trip through the movie road's two conversions (decoded frame
// to the effect's ARGB world, and the world back to the encoder's frame), on one thread: the
// converters fxhost uses (zimg) against swscale's accurate path with the flags fxhost used
// before, rebuilt here as it was, so that both are timed in one run on the same frame.
#include <benchmark/benchmark.h>

#include <cstring>

extern "C" {
#include <libavutil/opt.h>
}

#include "DecodeConverter.h"
#include "FrameConverter.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;

// A frame with edges in luma and chroma everywhere, tagged as a camera tags it.
fxhost::av::Frame yuvFrame() {
    fxhost::av::Frame frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = kWidth;
    frame->height = kHeight;
    frame->colorspace = AVCOL_SPC_BT709;
    frame->color_range = AVCOL_RANGE_MPEG;
    frame->chroma_location = AVCHROMA_LOC_LEFT;
    av_frame_get_buffer(frame.get(), 64);
    for (int p = 0; p < 3; ++p) {
        const int w = p ? kWidth / 2 : kWidth, h = p ? kHeight / 2 : kHeight;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                frame->data[p][y * frame->linesize[p] + x] = static_cast<uint8_t>(16 + (x * (p + 3) + y * (5 - p)) % 220);
    }
    return frame;
}

fxhost::av::ScaleContext swscale(AVPixelFormat from, AVPixelFormat to, int flags) {
    fxhost::av::ScaleContext context(sws_alloc_context());
    av_opt_set_int(context.get(), "sws_flags", flags, 0);
    av_opt_set_int(context.get(), "srcw", kWidth, 0);
    av_opt_set_int(context.get(), "srch", kHeight, 0);
    av_opt_set_int(context.get(), "src_format", from, 0);
    av_opt_set_int(context.get(), "dstw", kWidth, 0);
    av_opt_set_int(context.get(), "dsth", kHeight, 0);
    av_opt_set_int(context.get(), "dst_format", to, 0);
    if (from == AV_PIX_FMT_YUV420P) {
        av_opt_set_int(context.get(), "src_h_chr_pos", 0, 0);
        av_opt_set_int(context.get(), "src_v_chr_pos", 128, 0);
    }
    sws_init_context(context.get(), nullptr, nullptr);
    const int* bt709 = sws_getCoefficients(SWS_CS_ITU709);
    const int* rgb = sws_getCoefficients(SWS_CS_DEFAULT);
    if (from == AV_PIX_FMT_YUV420P)
        sws_setColorspaceDetails(context.get(), bt709, 0, rgb, 1, 0, 1 << 16, 1 << 16);
    else
        sws_setColorspaceDetails(context.get(), rgb, 1, bt709, 0, 0, 1 << 16, 1 << 16);
    return context;
}

void SwscaleAccurate(benchmark::State& state) {
    const fxhost::av::Frame in = yuvFrame();
    fxhost::av::Frame out = yuvFrame();
    fxhost::HostWorld world(kWidth, kHeight, fxhost::Depth::Eight);
    const fxhost::av::ScaleContext decode =
        swscale(AV_PIX_FMT_YUV420P, AV_PIX_FMT_ARGB, SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT);
    const fxhost::av::ScaleContext encode = swscale(AV_PIX_FMT_ARGB, AV_PIX_FMT_YUV420P, SWS_BICUBIC | SWS_ACCURATE_RND);
    uint8_t* planes[4] = {static_cast<uint8_t*>(static_cast<void*>(world.def()->data)), nullptr, nullptr, nullptr};
    const int strides[4] = {world.rowbytes(), 0, 0, 0};
    for (auto _ : state) {
        sws_scale(decode.get(), in->data, in->linesize, 0, kHeight, planes, strides);
        sws_scale(encode.get(), planes, strides, 0, kHeight, out->data, out->linesize);
        benchmark::DoNotOptimize(out->data[0][0]);
    }
}

void Zimg(benchmark::State& state) {
    const fxhost::av::Frame in = yuvFrame();
    fxhost::HostWorld world(kWidth, kHeight, fxhost::Depth::Eight);
    fxhost::DecodeConverter decode;
    fxhost::FrameConverter encode(kWidth, kHeight, AV_PIX_FMT_YUV420P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG,
                                  AVCHROMA_LOC_LEFT);
    for (auto _ : state) {
        decode.convert(*in, world);
        fxhost::av::Frame out = encode.convert(world);
        benchmark::DoNotOptimize(out->data[0][0]);
        encode.recycle(std::move(out));
    }
}

}  // namespace

BENCHMARK(SwscaleAccurate)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Zimg)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
