// The frames of a movie's video stream (the one FFmpeg would pick), numbered from 1 in
// presentation order, decoded into 8-bit ARGB worlds. Opening demuxes the stream once and keeps
// every frame's timestamp, so variable frame rates, long GOPs and B-frames are counted and found
// exactly; read(N) gives frame N, whatever came before it: going on from the last frame costs no
// seek, anything else seeks back to the keyframe before N and decodes forward. Alpha comes in where
// the stream has it (VP9 is decoded by libvpx, whose decoder keeps it). Failures throw JobError
// with exit status 3 naming the file, and once decoding has begun, the frame where it broke.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "DecodeConverter.h"
#include "HostWorld.h"
#include "LibAv.h"

namespace fxhost {

class MovieReader {
public:
    explicit MovieReader(const std::string& path);

    const std::string& path() const { return mPath; }
    // The movie's length: the frames its header announces where the file is cut short of them.
    int frameCount() const { return mLength; }
    int width() const { return mCodec->width; }
    int height() const { return mCodec->height; }
    bool hasAlpha() const { return mAlpha; }
    // Bits a channel as the stream stores it (8, 10, 12...), of which the worlds keep 8.
    int bitDepth() const;
    // The video stream's index in the file, and the time base its timestamps are in.
    int streamIndex() const { return mStream; }
    AVRational timeBase() const;
    // Frame N's presentation timestamp, in timeBase().
    int64_t pts(int frame) const { return mPts.at(static_cast<size_t>(frame - 1)); }
    // The decoder's name, as messages and tests name it ("h264", "libvpx-vp9").
    std::string decoderName() const { return mCodec->codec->name; }

    // Throws, before any frame is decoded, when the file is known to break at or before frame N
    // (cut short, or a packet the demuxer marks damaged).
    void checkIntact(int frame) const;

    // Decodes frame N (1 to frameCount()) into `world`, which must have the movie's size, and adds
    // the seconds spent converting pixels to `convertSeconds`.
    void read(int frame, HostWorld& world, double* convertSeconds = nullptr);

private:
    void openInput();
    void seekBefore(int index);
    bool decodeNext();
    int indexOf(int64_t timestamp) const;
    [[noreturn]] void broken(int index, const std::string& why) const;

    std::string mPath;
    av::InputContext mFormat;
    av::CodecContext mCodec;
    av::Packet mPacket;
    av::Frame mDecoded;
    DecodeConverter mConverter;
    int mStream = -1;
    bool mAlpha = false;
    std::vector<int64_t> mPts;  // every frame's timestamp, ascending
    int mLength = 0;
    int mBrokenAt = -1;         // index of the first frame the demuxer could not deliver, or -1
    std::string mBrokenWhy;
    int mIndex = -1;            // index of the frame in mDecoded; -1 before the first
    bool mPositioned = false;   // whether decoding on from mIndex gives the frames after it
    bool mDraining = false;
};

}  // namespace fxhost
