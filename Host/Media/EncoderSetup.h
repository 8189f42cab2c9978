// Chooses and opens the encoder of a movie's video before anything is written: the encoder, its
// pixel format, profile, field order, colour tags, sample aspect, time base (the request's, or
// 1/frame rate for codecs that take no other, MPEG-1/2) and the user's options. A source's codec is
// kept with the encoder users of ffmpeg pick for it (libx264, libx265, prores_ks, libvpx, libsvtav1).
// Every fault a user can fix (an unknown encoder or pixel format, an option the encoder does not
// take, a size it refuses) throws JobError(kUsage) naming the cause and what works instead.
#pragma once

#include <string>

#include "LibAv.h"
#include "MovieOptions.h"

namespace fxhost {

struct EncoderRequest {
    std::string output;                      // the movie's name, for messages
    const AVOutputFormat* container = nullptr;
    const AVStream* source = nullptr;        // the source's video stream; null when frames come from images
    AVRational sourceSampleAspect{0, 1};
    int width = 0;
    int height = 0;
    bool alpha = false;
    AVRational timeBase{1, 25};
    AVRational frameRate{25, 1};
};

class EncoderSetup {
public:
    // An opened encoder. Its colorspace and color_range are what the frames are converted with:
    // unspecified tags (an untagged source, kept untagged) are written as BT.601 limited range.
    static av::CodecContext open(const EncoderRequest& request, const MovieOptions& options);
};

}  // namespace fxhost
