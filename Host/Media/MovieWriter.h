// Writes the frames an effect rendered as the video of a movie, and keeps everything else of the
// source movie as it was: every other stream the container holds is copied packet for packet (one
// it cannot hold is named in a warning and left out), and the timecode, metadata, chapters, sample
// aspect, rotation, colour tags, frame rate and every timestamp come out as they went in.
//
// Encoder: options.codec, else the source's codec where an encoder for it exists and the container
// holds it (with its profile, pixel format and field order), else the container's usual one: mp4
// H.264 yuv420p, mov ProRes 422 HQ (4444 with alpha), mkv FFV1, webm VP9 (yuva420p with alpha),
// mxf DNxHR HQ, anything else the muxer's own default. Quality is the encoder's own default unless
// --crf, --preset or --codec-opt say otherwise. YUV is written with the source's matrix and range
// (untagged: BT.601, limited, left untagged); from images: BT.709, limited range, tagged so.
//
// Timing: pts passed to write() are in timeBase(), the source stream's own timestamps (or frame
// numbers from 0 at 1/fps from images), one frame out per frame in, so variable frame rate stays
// variable. The output starts where the first frame written starts: when that frame is the source's
// first, every stream keeps its place against the file's start (all shifted by the source's start
// time); when it is a later one, all streams are shifted by that frame's pts, the other streams are
// copied for the span from it to the end of the last frame written (packets that start within it),
// chapters ending before it are left out (the one it falls in starts with it), and the timecode is
// advanced by the frames left out. MXF, which holds constant rates only, is timed in frames.
//
// Failures: every argument fault (unknown container or encoder, a pixel format or option the encoder
// does not take, a size the encoder refuses, the output being the source) throws JobError(kUsage) from
// the constructor, before any file exists; a source that cannot be read and write faults throw
// JobError(kImage) naming the file and the system's reason. The movie is written as
// DIR/.NAME.fxhost-partial (registered for removal on SIGINT/SIGTERM) and renamed by finish(); a
// writer destroyed unfinished removes it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "HostWorld.h"
#include "MovieOptions.h"

namespace fxhost {

class MovieWriter {
public:
    // `sourceMovie` is the movie the frames come from ("" when they come from images) and
    // `sourceStream` its video stream (-1: the one FFmpeg picks as best). `alpha` says the frames
    // carry alpha worth keeping (chooses the default pixel format when the source does not).
    MovieWriter(const std::string& output, int width, int height, bool alpha,
                const std::string& sourceMovie, int sourceStream, const MovieOptions& options);
    ~MovieWriter();
    MovieWriter(const MovieWriter&) = delete;
    MovieWriter& operator=(const MovieWriter&) = delete;

    // What write() takes pts in: the source stream's time base, or 1/fps from images.
    AVRational timeBase() const;
    // One 8-bit ARGB frame (bytes A,R,G,B) of the writer's size; pts ascending.
    void write(const HostWorld& world, int64_t pts);
    // Flushes the encoder and the remaining copied packets, writes the trailer and renames the
    // movie into place.
    void finish();
    // The temporary name the movie is written under until finish().
    std::string temporaryPath() const;
    // The encoder and pixel format chosen, such as "libx264 yuv420p", for messages.
    std::string encoderDescription() const;

    struct State;

private:
    std::unique_ptr<State> mState;
};

}  // namespace fxhost
