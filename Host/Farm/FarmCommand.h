// `fxhost farm`: hands a sequence to a Slurm cluster as chunks and tells how it went.
//   farm submit [render options] --chunk N [slurm options] [--dry-run] INPUT OUTPUT
//       submits the chunks with a missing frame as a job array and a check job after it; prints
//       the array job's id alone on standard output, everything else on standard error
//   farm status JOB|OUTPUT   each chunk's state and frames done
//   farm check --frames LIST [--chunk N] OUTPUT   every frame there and readable, or exit 3
// Errors are JobErrors with the program's exit statuses.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace fxhost {

class FarmCommand {
public:
    explicit FarmCommand(CLI::App& app);

    bool parsed() const { return mFarm->parsed(); }
    int run();

private:
    int submit();
    int status();
    int check();

    CLI::App* mFarm;
    CLI::App* mSubmit;
    CLI::App* mStatus;
    CLI::App* mCheck;
    std::string mPlugin, mFrames, mInput, mOutput, mJob, mPartition, mTime, mMemory, mLook;
    std::vector<std::string> mSets, mSbatchArgs;
    int mChunk = 0;
    int mPngCompression = -1;
    std::string mRenderer = "auto";
    bool mStrictDepth = false;
    bool mDryRun = false;
};

}  // namespace fxhost
