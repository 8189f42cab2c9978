// One frame on its way from a source to a sink: the frame's number and place in the list, the
// worlds it is rendered from and into, and what its file said about it. A slot's worlds are kept
// for the next frame that uses it unless the size changes.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "HostWorld.h"
#include "ImageHeader.h"

namespace fxhost {

struct FrameSlot {
    int frame = 0;
    int position = 0;  // index in the list of frames
    std::unique_ptr<HostWorld> input;
    std::unique_ptr<HostWorld> output;
    ImageHeader header;        // the input file's header
    std::vector<float> extra;  // its channels after the fourth
    DepthLoss loss;
    int64_t pts = 0;  // a movie frame's presentation time, in its video stream's time base
};

}  // namespace fxhost
