// What `fxhost render` and `fxhost sheet` do: one effect load, global set-up
// and parameter set-up, the values from the command line, then frames, and
// global set-down at the end. Every failure is a JobError carrying the exit
// status the program returns, with a message that says what went wrong.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "EffectHost.h"
#include "ImageFile.h"
#include "ParameterSettings.h"
#include "ProgressLog.h"

namespace fxhost {

class JobError : public std::runtime_error {
public:
    // Exit statuses of the program.
    enum { kUsage = 2, kImage = 3, kEffect = 4, kHostFault = 5 };
    JobError(int status, const std::string& message) : std::runtime_error(message), mStatus(status) {}
    int status() const { return mStatus; }

private:
    int mStatus;
};

class RenderJob {
public:
    RenderJob(const std::string& plugin, const ParameterSettings& settings);

    EffectHost& host() { return mHost; }

    // One frame at the given time: the file goes to the effect as an 8-bit world and comes
    // back at the file's own depth.
    ImageFile render(const ImageFile& input, int frame);

    // The frames (ascending, from SequencePlan) from INPUT to OUTPUT (patterns of FramePattern);
    // prints a progress bar when standard error is a terminal, and one closing line with the count
    // and rate; tells the progress log of every frame written.
    void renderSequence(const std::string& input, const std::string& output, const std::vector<int>& frames,
                        ProgressLog& log);

    // COUNT renders of the input with one parameter stepped from FROM to TO, tiled into one image.
    void renderSheet(const std::string& input, const std::string& output, const std::string& vary);

private:
    EffectHost mHost;
};

}  // namespace fxhost
