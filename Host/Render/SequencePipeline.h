// Runs a list of frames through decode, render and encode at once. The calling thread renders, in
// list order (the effect keeps its GL context on the thread that calls it); `encoders + 1` worker
// threads read frames ahead and write rendered ones behind, each taking whichever job is ready
// (writing first, as it frees memory). Frames are read several at once and finish in any order,
// unless the source must be read one at a time in list order (a movie); at most `encoders` are
// written at once (1: one at a time, in list order). Frames travel in a fixed set of slots, so
// memory stays at a few frames whatever the list's length, and each slot keeps its worlds from
// frame to frame unless the size changes. Outputs are put in place in list order. A failure stops
// the run as a plain loop would meet it (read, render, write of one frame before the next frame):
// every frame before it is complete, none after it is put in place, and run() rethrows it.
#pragma once

#include <functional>
#include <vector>

#include "FrameSlot.h"

namespace fxhost {

// Seconds summed over all frames; decode and encode run on other threads than render.
struct PipelineTimes {
    double decode = 0;   // reading files, less converting
    double convert = 0;  // file pixels to and from 8-bit worlds
    double render = 0;   // the effect's commands
    double encode = 0;   // writing files, less converting
    double waiting = 0;  // the render thread idle, waiting for the next frame to be read (or a slot to free)
    double wall = 0;
};

class SequencePipeline {
public:
    struct Stages {
        // Fills slot.input (the world may be replaced when the size differs), header, extra, loss.
        std::function<void(FrameSlot&, double& convertSeconds)> read;
        // Renders slot.input into slot.output on the calling thread.
        std::function<void(FrameSlot&)> render;
        // Writes slot.output under the output's temporary name; commit/discard put it in place.
        std::function<void(FrameSlot&, double& convertSeconds)> encode;
        std::function<void(FrameSlot&)> commit;
        std::function<void(FrameSlot&)> discard;
        // Called once a frame is in place, in list order.
        std::function<void(const FrameSlot&)> done;
    };

    SequencePipeline(Stages stages, int encoders, bool readInOrder = false);

    PipelineTimes run(const std::vector<int>& frames);

private:
    Stages mStages;
    int mEncoders;
    bool mReadInOrder;
};

}  // namespace fxhost
