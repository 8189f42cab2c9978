#include "MovieWriter.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>

extern "C" {
#include <libavutil/pixdesc.h>
#include <libavutil/timecode.h>
}

#include "EncoderSetup.h"
#include "FrameConverter.h"
#include "Interruption.h"
#include "JobError.h"
#include "PartialFile.h"
#include "StreamCopier.h"

namespace fxhost {

struct MovieWriter::State {
    std::string output;
    int width = 0;
    int height = 0;
    std::unique_ptr<StreamCopier> copier;  // null when frames come from images
    av::CodecContext encoder;
    std::unique_ptr<FrameConverter> converter;
    std::unique_ptr<PartialFile> partial;
    av::OutputContext muxer;
    AVStream* video = nullptr;
    AVRational timeBase{1, 25};
    AVRational frameRate{25, 1};

    bool started = false;
    bool finished = false;
    int64_t shift = 0;  // taken from every video pts, in timeBase
    av::Frame pending;  // held until the next frame says how long it lasts
    int64_t pendingPts = AV_NOPTS_VALUE;
    int64_t lastGap = 0;
    std::map<int64_t, int64_t> durations;  // encoder pts -> duration, until its packet comes out
    av::Packet packet{av_packet_alloc()};

    void start(int64_t firstPts);
    void send(AVFrame* frame, int64_t duration);
    void drain();
    [[noreturn]] void writeFailed(int code) const {
        throw JobError(JobError::kImage, output + ": cannot write: " + av::errorText(code));
    }
};

namespace {

[[noreturn]] void refuse(const std::string& output, const std::string& why) {
    throw JobError(JobError::kUsage, output + ": " + why);
}

bool sameFile(const std::string& a, const std::string& b) {
    struct stat sa, sb;
    return stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

const char* sourceTimecode(const AVFormatContext* input, const AVStream* video) {
    if (const AVDictionaryEntry* tag = av_dict_get(video->metadata, "timecode", nullptr, 0)) return tag->value;
    for (unsigned i = 0; i < input->nb_streams; ++i)
        if (const AVDictionaryEntry* tag = av_dict_get(input->streams[i]->metadata, "timecode", nullptr, 0))
            return tag->value;
    if (const AVDictionaryEntry* tag = av_dict_get(input->metadata, "timecode", nullptr, 0)) return tag->value;
    return nullptr;
}

// The timecode `frames` frames after `timecode`, or the same text when it cannot be parsed.
std::string advanceTimecode(const std::string& timecode, AVRational rate, int64_t frames) {
    AVTimecode code;
    if (frames <= 0 || av_timecode_init_from_string(&code, rate, timecode.c_str(), nullptr) < 0) return timecode;
    char text[AV_TIMECODE_STR_SIZE];
    return av_timecode_make_string(&code, text, static_cast<int>(frames));
}

void copyChapters(const AVFormatContext* input, AVFormatContext* output, int64_t from, AVRational fromBase,
                  int64_t shift, AVRational shiftBase) {
    for (unsigned i = 0; i < input->nb_chapters; ++i) {
        const AVChapter* chapter = input->chapters[i];
        const int64_t begin = av_rescale_q(from, fromBase, chapter->time_base);
        if (chapter->end <= begin) continue;
        const int64_t offset = av_rescale_q(shift, shiftBase, chapter->time_base);
        AVChapter* copy = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
        if (!copy) throw std::bad_alloc();
        if (av_dynarray_add_nofree(&output->chapters, reinterpret_cast<int*>(&output->nb_chapters), copy) < 0) {
            av_free(copy);
            throw std::bad_alloc();
        }
        copy->id = chapter->id;
        copy->time_base = chapter->time_base;
        copy->start = std::max(chapter->start, begin) - offset;
        copy->end = chapter->end - offset;
        av_dict_copy(&copy->metadata, chapter->metadata, 0);
    }
}

}  // namespace

MovieWriter::MovieWriter(const std::string& output, int width, int height, bool alpha,
                         const std::string& sourceMovie, int sourceStream, const MovieOptions& options)
    : mState(new State) {
    State& s = *mState;
    s.output = output;
    s.width = width;
    s.height = height;
    if (width <= 0 || height <= 0) refuse(output, "a movie needs a size, not " + std::to_string(width) + "x" +
                                                      std::to_string(height));
    const AVOutputFormat* container = av_guess_format(nullptr, output.c_str(), nullptr);
    if (!container || container->video_codec == AV_CODEC_ID_NONE || (container->flags & AVFMT_NOFILE) ||
        std::strncmp(container->name, "image2", 6) == 0)
        refuse(output, "not a movie container FFmpeg knows by its extension (mov, mp4, m4v, mkv, webm, mxf, avi, "
                       "ts, mpg, y4m...)");
    if (!sourceMovie.empty() && sameFile(sourceMovie, output))
        refuse(output, "is the source movie itself; write the result under another name");

    EncoderRequest request;
    request.output = output;
    request.container = container;
    request.width = width;
    request.height = height;
    request.alpha = alpha;
    if (!sourceMovie.empty()) {
        s.copier = std::make_unique<StreamCopier>(sourceMovie, sourceStream);
        AVStream* video = s.copier->video();
        request.source = video;
        request.sourceSampleAspect = av_guess_sample_aspect_ratio(s.copier->input(), video, nullptr);
        s.timeBase = video->time_base;
        s.frameRate = video->avg_frame_rate.num > 0 && video->avg_frame_rate.den > 0 ? video->avg_frame_rate
                      : video->r_frame_rate.num > 0 && video->r_frame_rate.den > 0 ? video->r_frame_rate
                                                                                   : AVRational{25, 1};
    } else {
        s.timeBase = av_inv_q(options.fps);
        s.frameRate = options.fps;
    }
    // MXF holds constant frame rates only, timed in frames; everything else keeps the source's clock.
    request.timeBase = std::strcmp(container->name, "mxf") == 0 ? av_inv_q(s.frameRate) : s.timeBase;
    request.frameRate = s.frameRate;
    s.encoder = EncoderSetup::open(request, options);
    s.converter = std::make_unique<FrameConverter>(width, height, s.encoder->pix_fmt, s.encoder->colorspace,
                                                   s.encoder->color_range, s.encoder->chroma_sample_location);

    AVFormatContext* muxer = nullptr;
    const int allocated = avformat_alloc_output_context2(&muxer, container, nullptr, output.c_str());
    if (allocated < 0) refuse(output, "cannot make a " + std::string(container->name) + " file: " + av::errorText(allocated));
    s.muxer.reset(muxer);
    s.video = avformat_new_stream(muxer, nullptr);
    if (!s.video || avcodec_parameters_from_context(s.video->codecpar, s.encoder.get()) < 0) throw std::bad_alloc();
    s.video->time_base = s.encoder->time_base;
    s.video->avg_frame_rate = s.frameRate;
    s.video->r_frame_rate = s.copier && s.copier->video()->r_frame_rate.num > 0 ? s.copier->video()->r_frame_rate
                                                                              : s.frameRate;
    s.video->sample_aspect_ratio = s.encoder->sample_aspect_ratio;
    if (s.copier) {
        const AVStream* video = s.copier->video();
        av_dict_copy(&s.video->metadata, video->metadata, 0);
        // The source's encoder did not write this stream, and the muxer measures its own length.
        for (const char* key : {"encoder", "duration", "timecode"}) av_dict_set(&s.video->metadata, key, nullptr, 0);
        s.video->disposition = video->disposition;
        StreamCopier::copySideData(video, s.video);
        av_dict_copy(&muxer->metadata, s.copier->input()->metadata, 0);
        av_dict_set(&muxer->metadata, "encoder", nullptr, 0);
        s.copier->addStreams(muxer, output);
    }

    s.partial = std::make_unique<PartialFile>(output);
    int opened = 0;
    {
        const Interruption::FileGuard creating;
        opened = avio_open(&muxer->pb, s.partial->path().c_str(), AVIO_FLAG_WRITE);
    }
    if (opened < 0) s.writeFailed(opened);
}

MovieWriter::~MovieWriter() {
    // Unfinished: the muxer goes without its trailer, and PartialFile removes what was written.
    if (mState->muxer && mState->muxer->pb) avio_closep(&mState->muxer->pb);
}

void MovieWriter::State::start(int64_t firstPts) {
    started = true;
    bool fromStart = true;
    AVRational shiftBase = timeBase;
    if (copier) {
        const AVStream* source = copier->video();
        fromStart = source->start_time == AV_NOPTS_VALUE || firstPts <= source->start_time;
        if (fromStart) {
            // Every stream keeps its place against the others and the file's start.
            const int64_t fileStart = copier->input()->start_time;
            shift = fileStart == AV_NOPTS_VALUE ? 0 : fileStart;
            shiftBase = AV_TIME_BASE_Q;
        } else {
            shift = firstPts;
        }
        if (const char* timecode = sourceTimecode(copier->input(), source)) {
            const int64_t skipped =
                fromStart ? 0 : av_rescale_q(firstPts - source->start_time, timeBase, av_inv_q(frameRate));
            const std::string code = advanceTimecode(timecode, frameRate, skipped);
            av_dict_set(&video->metadata, "timecode", code.c_str(), 0);
            if (av_dict_get(muxer->metadata, "timecode", nullptr, 0))
                av_dict_set(&muxer->metadata, "timecode", code.c_str(), 0);
        }
        copyChapters(copier->input(), muxer.get(), fromStart ? INT64_MIN / 2 : firstPts, timeBase, shift, shiftBase);
    } else {
        shift = firstPts;
    }
    const int written = avformat_write_header(muxer.get(), nullptr);
    if (written < 0)
        throw JobError(JobError::kImage, output + ": cannot write the movie's header: " + av::errorText(written));
    if (copier) copier->start(firstPts, fromStart, shift, shiftBase);
    // From here on the video's own timestamps are shifted in its own time base.
    shift = av_rescale_q(shift, shiftBase, timeBase);
}

void MovieWriter::State::send(AVFrame* frame, int64_t duration) {
    if (frame) {
        frame->pkt_duration = av_rescale_q(duration, timeBase, encoder->time_base);
        durations[frame->pts] = frame->pkt_duration;
    }
    const int sent = avcodec_send_frame(encoder.get(), frame);
    if (sent < 0) throw JobError(JobError::kImage, output + ": the encoder failed: " + av::errorText(sent));
    drain();
}

void MovieWriter::State::drain() {
    for (;;) {
        const int received = avcodec_receive_packet(encoder.get(), packet.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return;
        if (received < 0) throw JobError(JobError::kImage, output + ": the encoder failed: " + av::errorText(received));
        // Encoders keep the pts but not every one keeps the frame's duration.
        const auto known = durations.find(packet->pts);
        if (known != durations.end()) {
            if (packet->duration <= 0) packet->duration = known->second;
            durations.erase(known);
        }
        packet->stream_index = video->index;
        av_packet_rescale_ts(packet.get(), encoder->time_base, video->time_base);
        const int written = av_interleaved_write_frame(muxer.get(), packet.get());
        if (written < 0) writeFailed(written);
    }
}

AVRational MovieWriter::timeBase() const { return mState->timeBase; }

void MovieWriter::write(const HostWorld& world, int64_t pts) {
    State& s = *mState;
    if (s.finished) throw JobError(JobError::kHostFault, s.output + ": a frame after the movie was finished");
    if (s.pendingPts != AV_NOPTS_VALUE && pts <= s.pendingPts)
        throw JobError(JobError::kHostFault, s.output + ": frame at " + std::to_string(pts) + " after one at " +
                                                 std::to_string(s.pendingPts) + "; frames must come in time order");
    if (!s.started) s.start(pts);
    if (s.copier) s.copier->copyUntil(pts);
    // The held frame's duration is known now: the encoder takes it before this one is converted, so
    // its threads have it sooner, and its buffer comes back to be filled with this one.
    if (s.pending) {
        s.lastGap = pts - s.pendingPts;
        s.send(s.pending.get(), s.lastGap);
        s.converter->recycle(std::move(s.pending));
    }

    av::Frame frame = s.converter->convert(world);
    frame->pts = av_rescale_q(pts - s.shift, s.timeBase, s.encoder->time_base);
    frame->color_primaries = s.encoder->color_primaries;
    frame->color_trc = s.encoder->color_trc;
    frame->colorspace = s.encoder->colorspace;
    frame->color_range = s.encoder->color_range;
    frame->chroma_location = s.encoder->chroma_sample_location;
    frame->sample_aspect_ratio = s.encoder->sample_aspect_ratio;
    if (s.encoder->field_order != AV_FIELD_PROGRESSIVE && s.encoder->field_order != AV_FIELD_UNKNOWN) {
        frame->interlaced_frame = 1;
        frame->top_field_first = s.encoder->field_order == AV_FIELD_TT || s.encoder->field_order == AV_FIELD_TB;
    }
    s.pending = std::move(frame);
    s.pendingPts = pts;
}

void MovieWriter::finish() {
    State& s = *mState;
    if (s.finished) return;
    if (!s.started) s.start(0);
    int64_t lastDuration = 0;
    if (s.pending) {
        // The last frame lasts as long as it did in the source, else as long as the one before it.
        if (s.copier) lastDuration = s.copier->videoDuration(s.pendingPts);
        if (lastDuration <= 0) lastDuration = s.lastGap;
        if (lastDuration <= 0) lastDuration = std::max<int64_t>(1, av_rescale_q(1, av_inv_q(s.frameRate), s.timeBase));
        s.send(s.pending.get(), lastDuration);
        s.pending.reset();
    }
    s.send(nullptr, 0);
    if (s.copier) {
        const bool toEnd = s.pendingPts == AV_NOPTS_VALUE || !s.copier->hasVideoAfter(s.pendingPts);
        s.copier->finish(s.pendingPts == AV_NOPTS_VALUE ? 0 : s.pendingPts + lastDuration, toEnd);
    }
    const int trailer = av_write_trailer(s.muxer.get());
    if (trailer < 0) s.writeFailed(trailer);
    const int closed = avio_closep(&s.muxer->pb);
    if (closed < 0) s.writeFailed(closed);
    if (const int error = PartialFile::renameOnto(s.partial->path(), s.output))
        throw JobError(JobError::kImage, s.output + ": cannot write: " + std::strerror(error));
    s.finished = true;
}

std::string MovieWriter::temporaryPath() const { return mState->partial->path(); }

std::string MovieWriter::encoderDescription() const {
    return std::string(mState->encoder->codec->name) + " " + av_get_pix_fmt_name(mState->encoder->pix_fmt);
}

}  // namespace fxhost
