// One owner for every libav object: a unique_ptr with the library's own free function, so no
// av_*_free call stands anywhere else. Also the library's error text, for messages that say
// why a call failed.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

namespace fxhost {
namespace av {

struct InputCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
// A muxer's context; the caller closes its AVIOContext (avio_closep) before it goes.
struct OutputFreer {
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
};
struct CodecFreer {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameFreer {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketFreer {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct ScaleFreer {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};
struct DictionaryFreer {
    void operator()(AVDictionary* dictionary) const { av_dict_free(&dictionary); }
};

using InputContext = std::unique_ptr<AVFormatContext, InputCloser>;
using OutputContext = std::unique_ptr<AVFormatContext, OutputFreer>;
using CodecContext = std::unique_ptr<AVCodecContext, CodecFreer>;
using Frame = std::unique_ptr<AVFrame, FrameFreer>;
using Packet = std::unique_ptr<AVPacket, PacketFreer>;
using ScaleContext = std::unique_ptr<SwsContext, ScaleFreer>;

// An AVDictionary that libav functions may fill, replace or empty through `address()`.
class Dictionary {
public:
    Dictionary() = default;
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;
    ~Dictionary() { av_dict_free(&mDictionary); }
    AVDictionary** address() { return &mDictionary; }
    AVDictionary* get() const { return mDictionary; }

private:
    AVDictionary* mDictionary = nullptr;
};

// libav's words for an error code, such as "Invalid data found when processing input".
inline std::string errorText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

}  // namespace av
}  // namespace fxhost
