// The Slurm commands fxhost farm needs, run as programs: sbatch to submit and scontrol to read a
// job's records (sacct needs an accounting database that many clusters don't expose). Failures
// to run or to be understood throw std::runtime_error carrying the command's own message.
#pragma once

#include <string>
#include <vector>

#include "FrameList.h"

namespace fxhost {

class Slurm {
public:
    // One record of `scontrol show job`: an array task, or the pending tasks not yet split off.
    struct Task {
        std::string jobId;
        FrameList arrayTasks;  // empty for a job that is not an array
        std::string state;     // PENDING, RUNNING, COMPLETED, FAILED, ...
        int restarts = 0;
        std::string command;  // the batch script's path
    };

    // sbatch --parsable ARGS...; returns the new job's id.
    static std::string submit(const std::vector<std::string>& args);

    // The records of a job and, for an array, of all its tasks. Throws when Slurm doesn't know the job.
    static std::vector<Task> show(const std::string& jobId);

    static bool isActive(const std::string& state);
};

}  // namespace fxhost
