// What `fxhost render` and `fxhost sheet` do: one effect load, global set-up
// and parameter set-up, the values from the command line, then frames, and
// global set-down at the end. Every failure is a JobError carrying the exit
// status the program returns, with a message that says what went wrong.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "EffectHost.h"
#include "FrameSource.h"
#include "ImageWriter.h"
#include "JobError.h"
#include "MovieOptions.h"
#include "ParameterSettings.h"
#include "ProgressLog.h"
#include "SequencePipeline.h"

namespace fxhost {

// How files are written and how many threads encode them.
struct OutputOptions {
    WriteOptions write;
    int threads = 0;           // frames encoded at once; 0 for one a core
    bool times = false;        // print where a sequence's time went, per frame
    bool strictDepth = false;  // refuse inputs the 8-bit worlds cannot hold, rather than warn
    MovieOptions movie;        // how a movie OUTPUT is encoded
    Renderer renderer = Renderer::GL;  // which of the effect's renderers to ask for
};

class RenderJob {
public:
    RenderJob(const std::string& plugin, const ParameterSettings& settings,
              const OutputOptions& options = OutputOptions());

    EffectHost& host() { return mHost; }

    // One frame at the given time, from an 8-bit world into `output`, which is made (or
    // remade, when its size differs) at the size the effect's pre-render asks for.
    void render(HostWorld& input, std::unique_ptr<HostWorld>& output, int frame);

    // The frames (ascending, from SequencePlan) from INPUT to OUTPUT (a FrameSource and a
    // FrameSink: images, sequences, movies), decoded, rendered and encoded at once; prints a
    // progress bar when standard error is a terminal, one closing line with the count and rate,
    // and tells the log of every frame written. A movie INPUT is read through `opened` where it is
    // that movie's reader (SequencePlan::takeReader), else opened anew.
    void renderSequence(const std::string& input, const std::string& output, const std::vector<int>& frames,
                        ProgressLog& log, std::unique_ptr<MovieReader> opened = nullptr);

    // COUNT renders of the input with one parameter stepped from FROM to TO, tiled into one image.
    // Each tile is scaled to `tileWidth` (0: such that the sheet is about 1920 pixels wide, never
    // wider than the input) and labelled with the parameter's name and value. The other parameters
    // take their values at `frame`; the stepped one replaces whatever was set for it.
    void renderSheet(const std::string& input, const std::string& output, const std::string& vary,
                     int tileWidth = 0, int frame = 0);

private:
    SourceOptions sourceOptions() const;

    EffectHost mHost;
    OutputOptions mOptions;
    int mMaxTextureSize = 0;
};

}  // namespace fxhost
