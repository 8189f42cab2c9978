#include "EncoderSetup.h"

#include <cstring>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include "Console.h"
#include "ContainerCodecs.h"
#include "JobError.h"

namespace fxhost {

namespace {

[[noreturn]] void refuse(const EncoderRequest& request, const std::string& why) {
    throw JobError(JobError::kUsage, request.output + ": " + why);
}

bool named(const AVCodec* codec, const char* name) { return std::strcmp(codec->name, name) == 0; }

bool holds(const AVOutputFormat* container, AVCodecID id) { return containerHolds(container, id); }

const AVCodec* videoEncoder(const char* name) {
    const AVCodec* codec = avcodec_find_encoder_by_name(name);
    return codec && codec->type == AVMEDIA_TYPE_VIDEO ? codec : nullptr;
}

// The encoder a compositor expects for a codec: the reference libraries where FFmpeg has them,
// for ProRes the encoder that writes every profile with alpha, and for AV1 SVT-AV1, whose default
// preset runs at x264's pace where libaom's defaults take seconds a frame, on the frames it takes.
constexpr int kSvtSmallest = 64;

bool svtTakes(const EncoderRequest& request) {
    return request.width >= kSvtSmallest && request.height >= kSvtSmallest;
}

const AVCodec* encoderFor(AVCodecID id, const EncoderRequest& request) {
    const char* preferred = id == AV_CODEC_ID_H264 ? "libx264"
                            : id == AV_CODEC_ID_AV1 ? (svtTakes(request) ? "libsvtav1" : "libaom-av1")
                            : id == AV_CODEC_ID_HEVC ? "libx265"
                            : id == AV_CODEC_ID_PRORES ? "prores_ks"
                            : id == AV_CODEC_ID_VP9 ? "libvpx-vp9"
                            : id == AV_CODEC_ID_VP8 ? "libvpx"
                                                    : nullptr;
    if (preferred)
        if (const AVCodec* codec = videoEncoder(preferred)) return codec;
    const AVCodec* codec = avcodec_find_encoder(id);
    if (codec && (codec->capabilities & (AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_EXPERIMENTAL))) return nullptr;
    return codec;
}

const AVCodec* containerDefault(const AVOutputFormat* container, const EncoderRequest& request) {
    const std::string name = container->name;
    const char* choice = name == "mov" ? "prores_ks"
                         : name == "mp4" || name == "ipod" ? "libx264"
                         : name == "matroska" ? "ffv1"
                         : name == "webm" ? "libvpx-vp9"
                         : name == "mxf" ? "dnxhd"
                                         : nullptr;
    if (choice)
        if (const AVCodec* codec = videoEncoder(choice)) return codec;
    return container->video_codec == AV_CODEC_ID_NONE ? nullptr : encoderFor(container->video_codec, request);
}

const AVCodec* chooseEncoder(const EncoderRequest& request, const MovieOptions& options) {
    const AVOutputFormat* container = request.container;
    if (!options.codec.empty()) {
        const AVCodec* codec = videoEncoder(options.codec.c_str());
        if (!codec)
            refuse(request, "--codec " + options.codec +
                                ": no such video encoder in this FFmpeg (try libx264, libx265, prores_ks, ffv1, "
                                "libvpx-vp9, qtrle, png; `ffmpeg -encoders` lists them all)");
        if (!holds(container, codec->id)) {
            const AVCodec* usual = containerDefault(container, request);
            refuse(request, std::string("a ") + container->name + " file cannot hold " +
                                avcodec_get_name(codec->id) + " video (--codec " + options.codec + ")" +
                                (usual ? std::string("; ") + usual->name + " works" : std::string()));
        }
        return codec;
    }
    if (request.source) {
        const AVCodecID id = request.source->codecpar->codec_id;
        if (const AVCodec* codec = encoderFor(id, request); codec && holds(container, id)) return codec;
    }
    const AVCodec* codec = containerDefault(container, request);
    if (!codec) refuse(request, std::string("no video encoder for a ") + container->name + " file; name one with --codec");
    if (request.source)
        Console::detail("%s: the source's %s video has no encoder here or cannot go into a %s file; writing %s",
                        request.output.c_str(), avcodec_get_name(request.source->codecpar->codec_id),
                        container->name, codec->name);
    return codec;
}

bool takes(const AVCodec* codec, AVPixelFormat format) {
    if (!codec->pix_fmts) return true;
    for (const AVPixelFormat* f = codec->pix_fmts; *f != AV_PIX_FMT_NONE; ++f)
        if (*f == format) return true;
    return false;
}

std::string formatList(const AVCodec* codec) {
    std::string list;
    for (const AVPixelFormat* f = codec->pix_fmts; f && *f != AV_PIX_FMT_NONE; ++f)
        list += (list.empty() ? "" : ", ") + std::string(av_get_pix_fmt_name(*f));
    return list;
}

bool hasAlpha(AVPixelFormat format) {
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
    return desc && (desc->flags & AV_PIX_FMT_FLAG_ALPHA);
}

AVPixelFormat choosePixelFormat(const EncoderRequest& request, const MovieOptions& options, const AVCodec* codec) {
    if (!options.pixFmt.empty()) {
        const AVPixelFormat format = av_get_pix_fmt(options.pixFmt.c_str());
        if (format == AV_PIX_FMT_NONE)
            refuse(request, "--pix-fmt " + options.pixFmt + ": no such pixel format (`ffmpeg -pix_fmts` lists them)");
        if (!takes(codec, format))
            refuse(request, "--pix-fmt " + options.pixFmt + ": " + codec->name + " takes " + formatList(codec));
        return format;
    }
    // The source's format goes with its codec; another codec gets its own usual format.
    const AVCodecParameters* source = request.source ? request.source->codecpar : nullptr;
    const AVPixelFormat sourceFormat = source ? static_cast<AVPixelFormat>(source->format) : AV_PIX_FMT_NONE;
    if (source && source->codec_id == codec->id && sourceFormat != AV_PIX_FMT_NONE && takes(codec, sourceFormat))
        return sourceFormat;
    // The players' formats, not FFmpeg's closest match to RGB (which for x264 is an unplayable 4:4:4).
    if (named(codec, "libx264") || named(codec, "libx265")) return AV_PIX_FMT_YUV420P;
    if (named(codec, "libvpx-vp9") || named(codec, "libvpx"))
        return request.alpha ? AV_PIX_FMT_YUVA420P : AV_PIX_FMT_YUV420P;
    if (codec->id == AV_CODEC_ID_PRORES) return request.alpha ? AV_PIX_FMT_YUVA444P10 : AV_PIX_FMT_YUV422P10;
    if (codec->id == AV_CODEC_ID_DNXHD) return AV_PIX_FMT_YUV422P;
    if (!codec->pix_fmts) return request.alpha ? AV_PIX_FMT_ARGB : AV_PIX_FMT_RGB24;
    return avcodec_find_best_pix_fmt_of_list(codec->pix_fmts, request.alpha ? AV_PIX_FMT_ARGB : AV_PIX_FMT_RGB24,
                                             request.alpha, nullptr);
}

void setOption(const EncoderRequest& request, AVCodecContext* context, const std::string& flag,
               const std::string& key, const std::string& value) {
    const int result = av_opt_set(context, key.c_str(), value.c_str(), AV_OPT_SEARCH_CHILDREN);
    if (result == AVERROR_OPTION_NOT_FOUND)
        refuse(request, flag + ": " + context->codec->name + " has no option '" + key +
                            "' (`ffmpeg -h encoder=" + context->codec->name + "` lists its options)");
    if (result < 0)
        refuse(request, flag + ": " + context->codec->name + " does not take '" + value + "' for " + key + ": " +
                            av::errorText(result));
}

// A source's profile is kept only with its codec and pixel format, which the profile depends on.
void keepProfile(AVCodecContext* context, int profile) {
    if (profile == FF_PROFILE_UNKNOWN) return;
    if (named(context->codec, "libx264")) {
        const char* name = profile == FF_PROFILE_H264_BASELINE || profile == FF_PROFILE_H264_CONSTRAINED_BASELINE
                               ? "baseline"
                           : profile == FF_PROFILE_H264_MAIN    ? "main"
                           : profile == FF_PROFILE_H264_HIGH    ? "high"
                           : profile == FF_PROFILE_H264_HIGH_10 ? "high10"
                           : profile == FF_PROFILE_H264_HIGH_422 ? "high422"
                           : profile == FF_PROFILE_H264_HIGH_444_PREDICTIVE ? "high444"
                                                                            : nullptr;
        if (name) av_opt_set(context->priv_data, "profile", name, 0);
        return;
    }
    const AVOption* option = av_opt_find(context->priv_data, "profile", nullptr, 0, 0);
    if (option && option->type == AV_OPT_TYPE_INT)
        av_opt_set_int(context->priv_data, "profile", profile, 0);
    else
        context->profile = profile;
}

void setColour(const EncoderRequest& request, AVCodecContext* context) {
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(context->pix_fmt);
    const bool rgb = desc->flags & AV_PIX_FMT_FLAG_RGB;
    const AVCodecParameters* source = request.source ? request.source->codecpar : nullptr;
    const bool sourceYuv = source && source->color_space != AVCOL_SPC_RGB &&
                           !(av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source->format)) &&
                             (av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source->format))->flags &
                              AV_PIX_FMT_FLAG_RGB));
    context->color_primaries = source ? source->color_primaries : AVCOL_PRI_BT709;
    context->color_trc = source ? source->color_trc : AVCOL_TRC_BT709;
    if (rgb) {
        // An RGB source's range tag goes out as it came: FFmpeg tags its RGB full range.
        context->colorspace = AVCOL_SPC_RGB;
        context->color_range = source && !sourceYuv ? source->color_range : AVCOL_RANGE_UNSPECIFIED;
    } else if (sourceYuv) {
        // The same matrix and range the source was decoded with, and the same tags.
        context->colorspace = source->color_space;
        context->color_range = source->color_range;
        context->chroma_sample_location = source->chroma_location;
    } else {
        // RGB in (images, or an RGB movie) and YUV out: HD's matrix, said in the tags.
        context->colorspace = AVCOL_SPC_BT709;
        context->color_range = AVCOL_RANGE_MPEG;
        if (context->color_primaries == AVCOL_PRI_UNSPECIFIED) context->color_primaries = AVCOL_PRI_BT709;
        if (context->color_trc == AVCOL_TRC_UNSPECIFIED) context->color_trc = AVCOL_TRC_BT709;
    }
    // The JPEG pixel formats are full range by definition.
    const std::string name = desc->name;
    if (name.rfind("yuvj", 0) == 0) context->color_range = AVCOL_RANGE_JPEG;
}

// A pixel format of the encoder that takes this size and keeps alpha as `format` does, to name
// in a refusal.
const char* formatForSize(const AVCodec* codec, AVPixelFormat format, int width, int height) {
    for (const AVPixelFormat* f = codec->pix_fmts; f && *f != AV_PIX_FMT_NONE; ++f) {
        const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(*f);
        if (width % (1 << desc->log2_chroma_w) == 0 && height % (1 << desc->log2_chroma_h) == 0 &&
            hasAlpha(*f) == hasAlpha(format))
            return desc->name;
    }
    return nullptr;
}

std::string rateText(AVRational rate) {
    return rate.den == 1 ? std::to_string(rate.num) : std::to_string(rate.num) + "/" + std::to_string(rate.den);
}

bool takesRate(const AVCodec* codec, AVRational rate) {
    for (const AVRational* r = codec->supported_framerates; r->num; ++r)
        if (av_cmp_q(*r, rate) == 0) return true;
    return false;
}

std::string rateList(const AVCodec* codec) {
    std::string list;
    for (const AVRational* r = codec->supported_framerates; r->num; ++r)
        list += (list.empty() ? "" : ", ") + rateText(*r);
    return list;
}

}  // namespace

av::CodecContext EncoderSetup::open(const EncoderRequest& request, const MovieOptions& options) {
    const AVCodec* codec = chooseEncoder(request, options);
    const AVPixelFormat format = choosePixelFormat(request, options, codec);
    if (request.alpha && !hasAlpha(format))
        Console::warnOnce(request.output + ": the frames' alpha is left out: " + codec->name + " " +
                          av_get_pix_fmt_name(format) + " has none (ProRes 4444 in .mov, FFV1 in .mkv or " +
                          "VP9 in .webm keep it)");

    // The codec's own defaults (x264: CRF 23, preset medium), not the generic context's.
    av::CodecContext context(avcodec_alloc_context3(codec));
    if (!context) throw std::bad_alloc();
    context->width = request.width;
    context->height = request.height;
    context->pix_fmt = format;
    // Codecs that code the frame rate in the stream (MPEG-1/2) take only its inverse as time base.
    context->time_base = codec->supported_framerates ? av_inv_q(request.frameRate) : request.timeBase;
    context->framerate = request.frameRate;
    context->sample_aspect_ratio = request.sourceSampleAspect;
    context->thread_count = 0;
    if (request.container->flags & AVFMT_GLOBALHEADER) context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    setColour(request, context.get());

    const AVCodecParameters* source = request.source ? request.source->codecpar : nullptr;
    if (source && source->codec_id == codec->id && source->format == format) keepProfile(context.get(), source->profile);
    if (source && source->field_order != AV_FIELD_UNKNOWN) {
        context->field_order = source->field_order;
        if (source->field_order != AV_FIELD_PROGRESSIVE)
            context->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
        // x264 starts top field first and takes the frames' order only after its first frames.
        if (named(codec, "libx264") && (source->field_order == AV_FIELD_BB || source->field_order == AV_FIELD_BT))
            av_opt_set(context->priv_data, "x264-params", "bff=1", 0);
    }
    if (codec->id == AV_CODEC_ID_PRORES && !(source && source->codec_id == codec->id))
        av_opt_set_int(context->priv_data, "profile", hasAlpha(format) || format == AV_PIX_FMT_YUV444P10 ? 4 : 3, 0);
    if (codec->id == AV_CODEC_ID_DNXHD && !(source && source->codec_id == codec->id))
        av_opt_set(context->priv_data, "profile", "dnxhr_hq", 0);

    if (options.crf >= 0) setOption(request, context.get(), "--crf", "crf", std::to_string(options.crf));
    if (!options.preset.empty()) setOption(request, context.get(), "--preset", "preset", options.preset);
    for (const std::string& option : options.codecOptions) {
        const size_t equals = option.find('=');
        if (equals == std::string::npos || equals == 0)
            refuse(request, "--codec-opt " + option + ": expected KEY=VALUE");
        setOption(request, context.get(), "--codec-opt " + option, option.substr(0, equals), option.substr(equals + 1));
    }

    // x265 prints its banner, settings and summary itself, not through libav's log: it follows
    // libav's level (its warnings only with -v), and its errors still reach standard error. A
    // log-level the user gave in x265-params stands.
    if (named(codec, "libx265") && !Console::verbose()) {
        AVDictionary* params = nullptr;
        av_opt_get_dict_val(context->priv_data, "x265-params", 0, &params);
        av_dict_set(&params, "log-level", "error", AV_DICT_DONT_OVERWRITE);
        av_opt_set_dict_val(context->priv_data, "x265-params", params, 0);
        av_dict_free(&params);
    }

    const int opened = avcodec_open2(context.get(), codec, nullptr);
    if (opened < 0) {
        const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
        const std::string size = std::to_string(request.width) + "x" + std::to_string(request.height);
        if (request.width % (1 << desc->log2_chroma_w) || request.height % (1 << desc->log2_chroma_h)) {
            const char* works = formatForSize(codec, format, request.width, request.height);
            refuse(request, std::string(codec->name) + " cannot encode " + size + " in " + desc->name +
                                ", whose colour is subsampled: the size must be even; " +
                                (works ? std::string("--pix-fmt ") + works + " or " : std::string()) +
                                "--codec ffv1 takes it");
        }
        if (codec->supported_framerates && !takesRate(codec, request.frameRate))
            refuse(request, std::string(codec->name) + " takes the frame rates " + rateList(codec) + ", not " +
                                rateText(request.frameRate) + "; --codec libx264 in .mp4 or .mkv takes any");
        if (named(codec, "libsvtav1") && !svtTakes(request))
            refuse(request, "libsvtav1 encodes frames of at least 64x64, and " + size +
                                " is smaller: --codec libaom-av1 takes it");
        // DNxHR's profiles start at 256x120 (DNxHD's are fixed HD sizes); FFmpeg says only EINVAL.
        if (codec->id == AV_CODEC_ID_DNXHD && (request.width < 256 || request.height < 120))
            refuse(request, std::string(codec->name) + " (DNxHR) encodes frames of at least 256x120, and " + size +
                                " is smaller: scale the input up, or write a .mov with --codec prores_ks, which takes "
                                "any even size");
        refuse(request, std::string(codec->name) + " refused " + size + " " + desc->name + " with the options given: " +
                            av::errorText(opened));
    }
    return context;
}

}  // namespace fxhost
