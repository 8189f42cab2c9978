#include "ImageEncoder.h"

#include <stdexcept>

#include "LibAv.h"

namespace fxhost {

namespace {

void check(int code, const char* what) {
    if (code < 0)
        throw std::runtime_error(std::string("cannot encode the preview (") + what +
                                 "): " + av::errorText(code));
}

// One picture through one encoder; `frame` holds the picture in the encoder's pixel format.
std::string encode(AVCodecContext* context, AVFrame* frame) {
    check(avcodec_send_frame(context, frame), "send");
    check(avcodec_send_frame(context, nullptr), "flush");
    const av::Packet packet(av_packet_alloc());
    if (!packet) throw std::runtime_error("cannot encode the preview: out of memory");
    std::string file;
    for (;;) {
        const int code = avcodec_receive_packet(context, packet.get());
        if (code == AVERROR_EOF) break;
        check(code, "receive");
        file.append(reinterpret_cast<const char*>(packet->data), packet->size);
        av_packet_unref(packet.get());
    }
    return file;
}

av::CodecContext openEncoder(AVCodecID id, const Pixels& pixels, AVPixelFormat format,
                             av::Dictionary& options, int flags = 0,
                             AVColorRange range = AVCOL_RANGE_UNSPECIFIED) {
    const AVCodec* codec = avcodec_find_encoder(id);
    if (!codec) throw std::runtime_error("cannot encode the preview: libavcodec has no encoder for it");
    av::CodecContext context(avcodec_alloc_context3(codec));
    if (!context) throw std::runtime_error("cannot encode the preview: out of memory");
    context->width = pixels.width;
    context->height = pixels.height;
    context->pix_fmt = format;
    context->time_base = AVRational{1, 25};
    context->flags |= flags;
    context->color_range = range;
    check(avcodec_open2(context.get(), codec, options.address()), "open");
    return context;
}

}  // namespace

std::string ImageEncoder::png(const Pixels& pixels) {
    av::Dictionary options;
    av_dict_set(options.address(), "pred", "sub", 0);
    av_dict_set(options.address(), "compression_level", "1", 0);
    const AVPixelFormat format = pixels.channels == 4 ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB24;
    const av::CodecContext context = openEncoder(AV_CODEC_ID_PNG, pixels, format, options);
    const av::Frame frame(av_frame_alloc());
    if (!frame) throw std::runtime_error("cannot encode the preview: out of memory");
    frame->format = format;
    frame->width = pixels.width;
    frame->height = pixels.height;
    frame->data[0] = const_cast<uint8_t*>(pixels.bytes.data());
    frame->linesize[0] = pixels.width * pixels.channels;
    // Left unspecified on purpose: the PNG encoder writes gAMA, cHRM or sRGB for a frame's stated colour.
    frame->color_primaries = AVCOL_PRI_UNSPECIFIED;
    frame->color_trc = AVCOL_TRC_UNSPECIFIED;
    return encode(context.get(), frame.get());
}

std::string ImageEncoder::jpeg(const Pixels& pixels) {
    av::Dictionary options;
    const AVPixelFormat format = AV_PIX_FMT_YUV420P;
    const av::CodecContext context =
        openEncoder(AV_CODEC_ID_MJPEG, pixels, format, options, AV_CODEC_FLAG_QSCALE, AVCOL_RANGE_JPEG);
    const av::Frame frame(av_frame_alloc());
    if (!frame) throw std::runtime_error("cannot encode the preview: out of memory");
    frame->format = format;
    frame->width = pixels.width;
    frame->height = pixels.height;
    check(av_frame_get_buffer(frame.get(), 0), "buffer");
    const av::ScaleContext convert(
        sws_getContext(pixels.width, pixels.height, pixels.channels == 4 ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB24,
                       pixels.width, pixels.height, format, SWS_BICUBIC, nullptr, nullptr, nullptr));
    if (!convert) throw std::runtime_error("cannot encode the preview: no conversion to JPEG's colours");
    // JPEG's YCbCr is full range, as the RGB it comes from.
    const int* coefficients = sws_getCoefficients(SWS_CS_DEFAULT);
    sws_setColorspaceDetails(convert.get(), coefficients, 1, coefficients, 1, 0, 1 << 16, 1 << 16);
    frame->color_range = AVCOL_RANGE_JPEG;
    const uint8_t* source[4] = {pixels.bytes.data()};
    const int stride[4] = {pixels.width * pixels.channels};
    sws_scale(convert.get(), source, stride, 0, pixels.height, frame->data, frame->linesize);
    frame->quality = 3 * FF_QP2LAMBDA;  // qscale 3: visually close to the frame, a few ms to write
    return encode(context.get(), frame.get());
}

}  // namespace fxhost
