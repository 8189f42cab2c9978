// Frames from a movie through MovieReader: frames 1 to N, the movie's own, with their timestamps
// (FrameSlot::pts, in the video stream's time base). A frame's header is the movie's size with
// 3 channels, or 4 where the stream has alpha, at 8 bits. A movie larger than the GL
// implementation's largest texture is refused (exit 3) with that limit named. A stream deeper than
// 8 bits is refused under --strict-depth (exit 3), and otherwise named once in a warning.
#pragma once

#include <memory>

#include "FrameSource.h"
#include "MovieReader.h"

namespace fxhost {

class MovieSource : public FrameSource {
public:
    // `opened`, where it reads INPUT, is gone on with rather than the file opened and indexed again.
    MovieSource(const std::string& input, const SourceOptions& options, std::unique_ptr<MovieReader> opened = nullptr);

    Kind kind() const override { return Kind::Movie; }
    bool ordered() const override { return true; }
    FrameList frames() const override;
    std::string name(int frame) const override;
    void check(const std::vector<int>& frames) const override;
    void read(int frame, FrameSlot& slot, double& convertSeconds) override;

    const MovieReader& reader() const { return *mReader; }

private:
    std::unique_ptr<MovieReader> mReader;
    ImageHeader mHeader;
    SourceOptions mOptions;
};

}  // namespace fxhost
