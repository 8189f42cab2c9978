// The source movie as the writer sees it: opened once, its video stream's settings read, and every
// other stream the output's container can hold copied into the output packet for packet (timestamps
// rescaled to the output's time bases; one the container cannot hold is named in a warning and left
// out; a QuickTime timecode track is not copied, since the timecode goes out as the video's tag and the
// muxer rebuilds the track, and neither is a chapter text track, whose chapters are copied as such).
// Packets are copied as the video advances, so memory stays flat over a long movie.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "LibAv.h"

namespace fxhost {

class StreamCopier {
public:
    // Opens the source; faults reading it throw JobError(kImage). `videoStream` -1: FFmpeg's best.
    StreamCopier(const std::string& source, int videoStream);

    AVFormatContext* input() const { return mInput.get(); }
    AVStream* video() const { return mInput->streams[mVideo]; }

    // Adds an output stream for every stream to copy, with its parameters, metadata, disposition and
    // side data; warns for those the container cannot hold. Before the header is written.
    void addStreams(AVFormatContext* output, const std::string& outputName);

    // Where copying starts: with the source's first frame (`fromStart`) everything is copied from
    // its beginning; otherwise packets that start before `firstPts` (video time base) are left out,
    // after a seek there. `shift`, in `shiftBase`, is taken from every timestamp. After the header.
    void start(int64_t firstPts, bool fromStart, int64_t shift, AVRational shiftBase);

    // Copies every packet that starts before `pts` (video time base, the source's own timestamps).
    void copyUntil(int64_t pts);

    // The duration of the source's video packet at `pts`, reading ahead for it; 0 when there is none.
    int64_t videoDuration(int64_t pts);

    // Whether the source has a video frame after `pts`, reading ahead for it.
    bool hasVideoAfter(int64_t pts);

    // Copies what is left: everything when `toEnd`, else packets that start before `endPts`.
    void finish(int64_t endPts, bool toEnd);

    // Stream side data (rotation, stereo, HDR...), but the source encoder's buffer figures.
    static void copySideData(const AVStream* from, AVStream* to);

private:
    bool readOne();
    void writeReady(int64_t limit, bool unlimited);
    void write(AVPacket* packet);

    std::string mSource;
    std::string mOutputName;
    av::InputContext mInput;
    int mVideo = -1;
    AVFormatContext* mOutput = nullptr;
    std::vector<int> mOutIndex;  // per source stream: output stream, or -1
    std::deque<av::Packet> mPending;
    std::map<int64_t, int64_t> mVideoDurations;  // source pts -> duration, of video packets read lately
    int64_t mMaxVideoPts = AV_NOPTS_VALUE;
    int64_t mLastRead = AV_NOPTS_VALUE;           // dts of the last packet read, in AV_TIME_BASE
    int64_t mLastVideoDts = AV_NOPTS_VALUE;       // in the video time base
    int64_t mFirstPts = 0;
    bool mFromStart = true;
    bool mEnd = false;
    int64_t mShift = 0;
    AVRational mShiftBase{1, 1};
};

}  // namespace fxhost
