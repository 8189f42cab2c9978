#include "MovieReader.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "JobError.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace fxhost {

namespace {

[[noreturn]] void unreadable(const std::string& path, const std::string& why) {
    throw JobError(JobError::kImage, "cannot read '" + path + "' as a movie: " + why);
}

}  // namespace

MovieReader::MovieReader(const std::string& path)
    : mPath(path), mPacket(av_packet_alloc()), mDecoded(av_frame_alloc()) {
    if (!mPacket || !mDecoded) throw std::bad_alloc();
    openInput();
    AVStream* stream = mFormat->streams[mStream];

    const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    // FFmpeg's own VP9 decoder drops the alpha plane that WebM keeps beside the picture.
    const AVDictionaryEntry* alphaMode = av_dict_get(stream->metadata, "alpha_mode", nullptr, 0);
    const bool vp9Alpha = stream->codecpar->codec_id == AV_CODEC_ID_VP9 && alphaMode &&
                          std::string(alphaMode->value) == "1";
    if (vp9Alpha) {
        if (const AVCodec* libvpx = avcodec_find_decoder_by_name("libvpx-vp9")) decoder = libvpx;
    }
    if (!decoder) {
        unreadable(path, std::string("FFmpeg has no decoder for its video (") +
                             avcodec_get_name(stream->codecpar->codec_id) + ")");
    }
    mCodec.reset(avcodec_alloc_context3(decoder));
    if (!mCodec) throw std::bad_alloc();
    int error = avcodec_parameters_to_context(mCodec.get(), stream->codecpar);
    if (error >= 0) {
        mCodec->pkt_timebase = stream->time_base;
        mCodec->thread_count = 0;  // the decoder's own threads, one a core
        error = avcodec_open2(mCodec.get(), decoder, nullptr);
    }
    if (error < 0) unreadable(path, std::string("cannot open its ") + decoder->name + " decoder: " + av::errorText(error));
    if (mCodec->width <= 0 || mCodec->height <= 0) unreadable(path, "its video has no size");
    mAlpha = vp9Alpha || DecodeConverter::hasAlpha(mCodec->pix_fmt);

    // The index: every frame's timestamp, from the packets alone (no decoding), sorted into
    // presentation order. Packets an edit list cuts away are not frames of the movie.
    std::vector<int64_t> corrupt;
    // Where the packets of all streams end, in AV_TIME_BASE units, to hold against the header.
    int64_t end = AV_NOPTS_VALUE, videoLength = 0;
    int videoTimed = 0;
    for (unsigned i = 0; i < mFormat->nb_streams; ++i) mFormat->streams[i]->discard = AVDISCARD_DEFAULT;
    while ((error = av_read_frame(mFormat.get(), mPacket.get())) >= 0) {
        const AVPacket& packet = *mPacket;
        if (packet.pts != AV_NOPTS_VALUE && packet.duration > 0) {
            const AVRational base = mFormat->streams[packet.stream_index]->time_base;
            const int64_t from = av_rescale_q(packet.pts, base, AV_TIME_BASE_Q);
            const int64_t to = av_rescale_q(packet.pts + packet.duration, base, AV_TIME_BASE_Q);
            end = std::max(end, to);
            if (packet.stream_index == mStream) {
                videoLength += to - from;
                ++videoTimed;
            }
        }
        if (packet.stream_index == mStream && !(packet.flags & AV_PKT_FLAG_DISCARD)) {
            int64_t timestamp = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
            if (timestamp == AV_NOPTS_VALUE) timestamp = mPts.empty() ? 0 : mPts.back() + 1;
            mPts.push_back(timestamp);
            if (packet.flags & AV_PKT_FLAG_CORRUPT) corrupt.push_back(timestamp);
        }
        av_packet_unref(mPacket.get());
    }
    std::sort(mPts.begin(), mPts.end());
    const int found = static_cast<int>(mPts.size());
    mLength = found;
    if (error != AVERROR_EOF) {
        mBrokenAt = found;
        mBrokenWhy = av::errorText(error);
    }
    const AVFormatContext& format = *mFormat;
    if (mBrokenAt < 0 && format.duration > 0 && end != AV_NOPTS_VALUE && videoTimed > 0 &&
        format.duration_estimation_method != AVFMT_DURATION_FROM_BITRATE) {
        // A file cut short keeps the duration its muxer wrote when it was whole (Matroska's); the
        // packets of all its streams falling more than a frame and a half short of it is a cut.
        const int64_t start = format.start_time == AV_NOPTS_VALUE ? 0 : format.start_time;
        const double frameLength = static_cast<double>(videoLength) / videoTimed;
        if (format.duration > end - start + 1.5 * frameLength) {
            mBrokenAt = found;
            mLength = static_cast<int>(std::lround(format.duration / frameLength));
            char why[160];
            std::snprintf(why, sizeof why, "the file ends %.3f s in, its header announces %.3f s (cut short?)",
                          static_cast<double>(end - start) / AV_TIME_BASE,
                          static_cast<double>(format.duration) / AV_TIME_BASE);
            mBrokenWhy = why;
        }
    }
    for (int64_t timestamp : corrupt) {
        const int index = indexOf(timestamp);
        if (mBrokenAt < 0 || index < mBrokenAt) {
            mBrokenAt = index;
            mBrokenWhy = "its data is damaged";
        }
    }
    for (unsigned i = 0; i < mFormat->nb_streams; ++i) {
        if (static_cast<int>(i) != mStream) mFormat->streams[i]->discard = AVDISCARD_ALL;
    }
    if (mPts.empty()) unreadable(path, mBrokenWhy.empty() ? "its video stream holds no frames" : mBrokenWhy);
}

void MovieReader::openInput() {
    AVFormatContext* format = nullptr;
    int error = avformat_open_input(&format, mPath.c_str(), nullptr, nullptr);
    if (error < 0) unreadable(mPath, av::errorText(error));
    mFormat.reset(format);
    if ((error = avformat_find_stream_info(format, nullptr)) < 0) unreadable(mPath, av::errorText(error));
    if (mStream < 0) {
        mStream = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        if (mStream < 0) unreadable(mPath, "it has no video stream");
    }
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        if (static_cast<int>(i) != mStream) format->streams[i]->discard = AVDISCARD_ALL;
    }
}

int MovieReader::bitDepth() const {
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(mCodec->pix_fmt);
    int depth = 8;
    for (int i = 0; description && i < description->nb_components; ++i) {
        depth = std::max(depth, description->comp[i].depth);
    }
    return depth;
}

AVRational MovieReader::timeBase() const { return mFormat->streams[mStream]->time_base; }

void MovieReader::broken(int index, const std::string& why) const {
    throw JobError(JobError::kImage, "'" + mPath + "' cannot be decoded at frame " + std::to_string(index + 1) +
                                         " of " + std::to_string(frameCount()) + ": " + why);
}

// The frame a decoded timestamp belongs to: the last one at or before it; -1 before the first.
int MovieReader::indexOf(int64_t timestamp) const {
    return static_cast<int>(std::upper_bound(mPts.begin(), mPts.end(), timestamp) - mPts.begin()) - 1;
}

// Leaves the decoder at the first frame it gives after a seek to the keyframe before `index`;
// where that frame is past `index` (an open GOP's leading frames need the GOP before), it seeks
// further back, doubling the distance, down to the first frame.
void MovieReader::seekBefore(int index) {
    // Decoding starts over from where the demuxer now is; false when it gives no frame.
    const auto restart = [this] {
        avcodec_flush_buffers(mCodec.get());
        mDraining = false;
        mPositioned = true;
        mIndex = -1;
        return decodeNext();
    };
    for (int back = 0;; back = back ? 2 * back : 1) {
        const int from = std::max(0, index - back);
        const bool sought = av_seek_frame(mFormat.get(), mStream, mPts[from], AVSEEK_FLAG_BACKWARD) >= 0;
        if (!sought) openInput();
        bool decoded = restart();
        // The first frame is otherwise reached by reading the file again from its start (another
        // probe of the file): some demuxers (MPEG-TS) land past it, and one that cannot seek at all
        // gets there too.
        if (from == 0 && sought && (!decoded || mIndex > index)) {
            openInput();
            decoded = restart();
        }
        if (!decoded) broken(index, "the decoder gives no frame after seeking to it");
        if (mIndex <= index) return;
        if (from == 0) {
            broken(index, "the first frame the decoder gives is frame " + std::to_string(mIndex + 1));
        }
    }
}

// The next frame out of the decoder into mDecoded; false once the stream is drained.
bool MovieReader::decodeNext() {
    const int wanted = mIndex + 1;
    for (;;) {
        int error = avcodec_receive_frame(mCodec.get(), mDecoded.get());
        if (error == 0) {
            const int64_t timestamp = mDecoded->best_effort_timestamp;
            mIndex = timestamp == AV_NOPTS_VALUE ? mIndex + 1 : indexOf(timestamp);
            return true;
        }
        if (error == AVERROR_EOF) return false;
        if (error != AVERROR(EAGAIN)) broken(wanted, av::errorText(error));
        error = av_read_frame(mFormat.get(), mPacket.get());
        if (error == AVERROR_EOF) {
            // The decoder holds frames back (B-frames, frame threads): a null packet lets them out.
            avcodec_send_packet(mCodec.get(), nullptr);
            mDraining = true;
            continue;
        }
        if (error < 0) broken(wanted, av::errorText(error));
        if (mPacket->stream_index == mStream) error = avcodec_send_packet(mCodec.get(), mPacket.get());
        av_packet_unref(mPacket.get());
        if (error < 0 && error != AVERROR(EAGAIN)) broken(wanted, av::errorText(error));
    }
}

void MovieReader::checkIntact(int frame) const {
    if (mBrokenAt >= 0 && frame - 1 >= mBrokenAt) broken(mBrokenAt, mBrokenWhy);
}

void MovieReader::read(int frame, HostWorld& world, double* convertSeconds) {
    const int index = frame - 1;
    if (frame < 1 || frame > frameCount()) {
        throw JobError(JobError::kUsage, "'" + mPath + "' has frames 1 to " + std::to_string(frameCount()) +
                                             ", not frame " + std::to_string(frame));
    }
    checkIntact(frame);
    // Going on costs less than a seek over a short distance; the keyframe before is rarely nearer.
    constexpr int kDecodeOn = 16;
    if (!mPositioned || index <= mIndex || index > mIndex + kDecodeOn) seekBefore(index);
    while (mIndex < index) {
        if (!decodeNext()) broken(index, "the stream ends before it");
    }
    if (mIndex > index) broken(index, "the decoder skips it");
    const AVFrame& decoded = *mDecoded;
    if (decoded.decode_error_flags || (decoded.flags & AV_FRAME_FLAG_CORRUPT)) broken(index, "its data is damaged");
    if (decoded.width != world.width() || decoded.height != world.height()) {
        broken(index, "its size changes from " + std::to_string(world.width()) + "x" +
                          std::to_string(world.height()) + " to " + std::to_string(decoded.width) + "x" +
                          std::to_string(decoded.height));
    }
    const auto begin = std::chrono::steady_clock::now();
    try {
        mConverter.convert(decoded, world);
    } catch (const std::runtime_error& e) {
        broken(index, e.what());
    }
    if (convertSeconds) {
        *convertSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    }
}

}  // namespace fxhost
