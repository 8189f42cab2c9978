// Frames from image files: one file, or a sequence named by a FramePattern, read through
// ImageReader. Under --strict-depth a file deeper than 8 bits, or holding values outside 0 to 1,
// is refused (exit 3); otherwise one warning a run says what the 8-bit worlds lose. A file larger
// than the GL implementation's largest texture is refused (exit 3) with that limit named.
#pragma once

#include "FramePattern.h"
#include "FrameSource.h"

namespace fxhost {

class ImageSource : public FrameSource {
public:
    ImageSource(const std::string& input, const SourceOptions& options);

    Kind kind() const override { return mPattern.isSequence() ? Kind::Sequence : Kind::Image; }
    bool ordered() const override { return false; }
    FrameList frames() const override;
    std::string name(int frame) const override { return mPattern.name(frame); }
    void check(const std::vector<int>& frames) const override;
    void read(int frame, FrameSlot& slot, double& convertSeconds) override;

private:
    std::string mInput;
    FramePattern mPattern;
    SourceOptions mOptions;
};

}  // namespace fxhost
