#include "StreamCopier.h"

#include "Console.h"
#include "ContainerCodecs.h"
#include "JobError.h"

namespace fxhost {

namespace {

constexpr size_t kDurationsKept = 512;

int64_t timeOf(const AVPacket* packet) { return packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts; }

}  // namespace

void StreamCopier::copySideData(const AVStream* from, AVStream* to) {
    for (int i = 0; i < from->nb_side_data; ++i) {
        const AVPacketSideData& data = from->side_data[i];
        // The encoder's buffer figures belong to the source's encoder, not to a copy or a new encode.
        if (data.type == AV_PKT_DATA_CPB_PROPERTIES) continue;
        uint8_t* copy = av_stream_new_side_data(to, data.type, data.size);
        if (!copy) throw std::bad_alloc();
        memcpy(copy, data.data, data.size);
    }
}

StreamCopier::StreamCopier(const std::string& source, int videoStream) : mSource(source) {
    AVFormatContext* input = nullptr;
    int result = avformat_open_input(&input, source.c_str(), nullptr, nullptr);
    if (result < 0) throw JobError(JobError::kImage, source + ": cannot open the movie: " + av::errorText(result));
    mInput.reset(input);
    result = avformat_find_stream_info(input, nullptr);
    if (result < 0) throw JobError(JobError::kImage, source + ": cannot read the movie: " + av::errorText(result));
    mVideo = videoStream >= 0 ? videoStream : av_find_best_stream(input, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (mVideo < 0 || mVideo >= static_cast<int>(input->nb_streams) ||
        input->streams[mVideo]->codecpar->codec_type != AVMEDIA_TYPE_VIDEO)
        throw JobError(JobError::kImage, source + ": no video stream" +
                                             (videoStream >= 0 ? " #" + std::to_string(videoStream) : std::string()));
    mOutIndex.assign(input->nb_streams, -1);
}

void StreamCopier::addStreams(AVFormatContext* output, const std::string& outputName) {
    mOutput = output;
    mOutputName = outputName;
    for (unsigned i = 0; i < mInput->nb_streams; ++i) {
        const AVStream* stream = mInput->streams[i];
        const AVCodecParameters* par = stream->codecpar;
        if (static_cast<int>(i) == mVideo) continue;
        // A chapter text track, which the demuxer hides: its chapters are copied as chapters.
        if (stream->discard == AVDISCARD_ALL) continue;
        // A timecode track: the timecode goes out as the video's tag, from which the muxer makes one.
        if (par->codec_tag == MKTAG('t', 'm', 'c', 'd')) continue;
        if (!containerHolds(output->oformat, par->codec_id)) {
            const char* type = av_get_media_type_string(par->codec_type);
            const AVDictionaryEntry* language = av_dict_get(stream->metadata, "language", nullptr, 0);
            Console::warnOnce(outputName + ": stream #" + std::to_string(i) + " of " + mSource + " (" +
                              (type ? type : "unknown") + " " + avcodec_get_name(par->codec_id) +
                              (language ? std::string(", ") + language->value : std::string()) + ") is left out: a " +
                              output->oformat->name + " file cannot hold it");
            continue;
        }
        AVStream* out = avformat_new_stream(output, nullptr);
        if (!out) throw std::bad_alloc();
        if (avcodec_parameters_copy(out->codecpar, par) < 0) throw std::bad_alloc();
        // The source container's tag may mean something else, or nothing, in the output's.
        out->codecpar->codec_tag = 0;
        out->time_base = stream->time_base;
        out->sample_aspect_ratio = stream->sample_aspect_ratio;
        out->avg_frame_rate = stream->avg_frame_rate;
        out->r_frame_rate = stream->r_frame_rate;
        out->disposition = stream->disposition;
        av_dict_copy(&out->metadata, stream->metadata, 0);
        // Matroska's per-stream length is the muxer's to write for the output.
        av_dict_set(&out->metadata, "duration", nullptr, 0);
        copySideData(stream, out);
        mOutIndex[i] = out->index;
    }
}

void StreamCopier::start(int64_t firstPts, bool fromStart, int64_t shift, AVRational shiftBase) {
    mFirstPts = firstPts;
    mFromStart = fromStart;
    mShift = shift;
    mShiftBase = shiftBase;
    if (!fromStart) {
        const int64_t target = av_rescale_q(firstPts, video()->time_base, AV_TIME_BASE_Q);
        // Backward, to where every stream still has its packets from the first frame on.
        if (avformat_seek_file(mInput.get(), -1, INT64_MIN, target, target, 0) < 0)
            avformat_seek_file(mInput.get(), -1, INT64_MIN, target, INT64_MAX, 0);
    }
}

bool StreamCopier::readOne() {
    if (mEnd) return false;
    av::Packet packet(av_packet_alloc());
    if (!packet) throw std::bad_alloc();
    const int result = av_read_frame(mInput.get(), packet.get());
    if (result == AVERROR_EOF) {
        mEnd = true;
        return false;
    }
    if (result < 0) throw JobError(JobError::kImage, mSource + ": cannot read the movie: " + av::errorText(result));
    const AVStream* stream = mInput->streams[packet->stream_index];
    const int64_t dts = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
    if (packet->stream_index == mVideo) {
        if (packet->pts != AV_NOPTS_VALUE && !(packet->flags & AV_PKT_FLAG_DISCARD)) {
            mVideoDurations[packet->pts] = packet->duration;
            if (mVideoDurations.size() > kDurationsKept) mVideoDurations.erase(mVideoDurations.begin());
            if (mMaxVideoPts == AV_NOPTS_VALUE || packet->pts > mMaxVideoPts) mMaxVideoPts = packet->pts;
        }
        if (dts != AV_NOPTS_VALUE) {
            mLastVideoDts = dts;
            mLastRead = av_rescale_q(dts, stream->time_base, AV_TIME_BASE_Q);
        }
        return true;
    }
    if (mOutIndex[packet->stream_index] < 0) return true;
    if (dts != AV_NOPTS_VALUE) mLastRead = av_rescale_q(dts, stream->time_base, AV_TIME_BASE_Q);
    mPending.push_back(std::move(packet));
    return true;
}

void StreamCopier::writeReady(int64_t limit, bool unlimited) {
    const AVRational videoBase = video()->time_base;
    for (auto it = mPending.begin(); it != mPending.end();) {
        AVPacket* packet = it->get();
        const AVRational base = mInput->streams[packet->stream_index]->time_base;
        const int64_t time = timeOf(packet);
        if (time != AV_NOPTS_VALUE && !mFromStart && av_compare_ts(time, base, mFirstPts, videoBase) < 0) {
            it = mPending.erase(it);
        } else if (unlimited || time == AV_NOPTS_VALUE || av_compare_ts(time, base, limit, videoBase) < 0) {
            write(packet);
            it = mPending.erase(it);
        } else {
            ++it;
        }
    }
}

void StreamCopier::write(AVPacket* packet) {
    const AVRational base = mInput->streams[packet->stream_index]->time_base;
    const int64_t shift = av_rescale_q(mShift, mShiftBase, base);
    if (packet->pts != AV_NOPTS_VALUE) packet->pts -= shift;
    if (packet->dts != AV_NOPTS_VALUE) packet->dts -= shift;
    packet->stream_index = mOutIndex[packet->stream_index];
    packet->pos = -1;
    av_packet_rescale_ts(packet, base, mOutput->streams[packet->stream_index]->time_base);
    const int result = av_interleaved_write_frame(mOutput, packet);
    if (result < 0) throw JobError(JobError::kImage, mOutputName + ": cannot write: " + av::errorText(result));
}

void StreamCopier::copyUntil(int64_t pts) {
    const AVRational videoBase = video()->time_base;
    writeReady(pts, false);
    while (!mEnd && (mLastRead == AV_NOPTS_VALUE || av_compare_ts(mLastRead, AV_TIME_BASE_Q, pts, videoBase) < 0)) {
        readOne();
        writeReady(pts, false);
    }
}

int64_t StreamCopier::videoDuration(int64_t pts) {
    // Packets come in decoding order, so once one decoded after `pts` is read, the one at it has been.
    while (!mVideoDurations.count(pts) && !mEnd && (mLastVideoDts == AV_NOPTS_VALUE || mLastVideoDts <= pts))
        readOne();
    const auto found = mVideoDurations.find(pts);
    return found == mVideoDurations.end() ? 0 : found->second;
}

bool StreamCopier::hasVideoAfter(int64_t pts) {
    while (!mEnd && (mMaxVideoPts == AV_NOPTS_VALUE || mMaxVideoPts <= pts)) readOne();
    return mMaxVideoPts != AV_NOPTS_VALUE && mMaxVideoPts > pts;
}

void StreamCopier::finish(int64_t endPts, bool toEnd) {
    if (toEnd) {
        while (readOne()) {
        }
        writeReady(0, true);
        return;
    }
    copyUntil(endPts);
    mPending.clear();
}

}  // namespace fxhost
