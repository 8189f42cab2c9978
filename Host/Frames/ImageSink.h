// Frames into image files through ImageWriter: each shaped like its input's header, several
// encoded at once, each under its temporary name until committed (see ImageWriter).
#pragma once

#include "FramePattern.h"
#include "FrameSink.h"

namespace fxhost {

class ImageSink : public FrameSink {
public:
    ImageSink(const std::string& output, const WriteOptions& options) : mPattern(output), mOptions(options) {}

    bool ordered() const override { return false; }
    std::string name(int frame) const override { return mPattern.name(frame); }
    void encode(FrameSlot& slot, double& convertSeconds) override;
    void commit(FrameSlot& slot) override;
    void discard(FrameSlot& slot) override;
    void finish() override {}
    void abandon() override {}

private:
    FramePattern mPattern;
    WriteOptions mOptions;
};

}  // namespace fxhost
