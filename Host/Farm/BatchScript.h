// The batch script of a farm submission, and the sbatch arguments that submit it. The script is a
// job array whose task N renders chunk N with `fxhost render --frames CHUNK --skip-existing
// --progress STATE/chunk-N.progress`; a task that fails asks Slurm to run it once more
// (scontrol requeue) and then leaves the failure to the check job. Every path in it is absolute,
// so it runs from any folder on any node that sees the same files.
#pragma once

#include <string>
#include <vector>

#include "FarmSequence.h"

namespace fxhost {

class BatchScript {
public:
    struct Options {
        std::string fxhost;  // absolute paths
        std::string plugin;
        std::string input;
        std::vector<std::string> sets;
        std::vector<std::string> renderOptions;  // further render arguments, passed as they are
        std::string partition, time, memory;
        std::vector<std::string> sbatchArgs;  // passed to sbatch as they are
    };

    BatchScript(const FarmSequence& sequence, const Options& options);

    std::string path() const { return mSequence.stateDir() + "/render.sh"; }
    std::string text() const;

    // For sbatch: the array of the given chunks; the check job that runs after it, however it ends.
    std::vector<std::string> arrayArgs(const FrameList& chunks) const;
    std::vector<std::string> checkArgs(const std::string& arrayJob) const;

    // The command the check job runs.
    std::string checkCommand() const;

    // Single-quoted for the shell.
    static std::string quote(const std::string& text);

private:
    std::vector<std::string> sharedArgs() const;

    const FarmSequence& mSequence;
    Options mOptions;
};

}  // namespace fxhost
