// Frames into one movie through MovieWriter, in list order on one thread (the encoder threads
// itself). The writer is made at the first frame, of its rendered size, with alpha when the
// frame's header has a fourth channel. Frames from a movie keep their timestamps; frames from
// images are numbered from 0 at the --fps rate. The movie appears under its name at finish();
// until then it is a temporary file, removed by abandon() or an interruption.
#pragma once

#include <memory>

#include "FrameSink.h"
#include "MovieWriter.h"

namespace fxhost {

class MovieSink : public FrameSink {
public:
    MovieSink(const std::string& output, const SinkOptions& options) : mOutput(output), mOptions(options) {}

    bool ordered() const override { return true; }
    std::string name(int) const override { return mOutput; }
    void encode(FrameSlot& slot, double& convertSeconds) override;
    void commit(FrameSlot&) override {}
    void discard(FrameSlot&) override {}
    void finish() override;
    void abandon() override { mWriter.reset(); }

private:
    std::string mOutput;
    SinkOptions mOptions;
    std::unique_ptr<MovieWriter> mWriter;
};

}  // namespace fxhost
