#include "Slurm.h"

#include <sstream>
#include <stdexcept>

#include "Process.h"

namespace fxhost {

namespace {

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

}  // namespace

std::string Slurm::submit(const std::vector<std::string>& args) {
    std::vector<std::string> argv{"sbatch", "--parsable"};
    argv.insert(argv.end(), args.begin(), args.end());
    const ProcessResult r = runProcess(argv);
    if (r.status != 0) throw std::runtime_error("sbatch failed: " + firstLine(r.err.empty() ? r.out : r.err));
    // --parsable prints "ID" or "ID;CLUSTER".
    const std::string id = firstLine(r.out).substr(0, r.out.find(';'));
    if (id.empty() || id.find_first_not_of("0123456789") != std::string::npos) {
        throw std::runtime_error("sbatch printed no job id: " + firstLine(r.out));
    }
    return id;
}

std::vector<Slurm::Task> Slurm::show(const std::string& jobId) {
    const ProcessResult r = runProcess({"scontrol", "--oneliner", "show", "job", jobId});
    if (r.status != 0) throw std::runtime_error("scontrol show job " + jobId + ": " + firstLine(r.err));
    std::vector<Task> tasks;
    std::istringstream lines(r.out);
    for (std::string line; std::getline(lines, line);) {
        if (line.find("JobId=") == std::string::npos) continue;
        Task task;
        std::istringstream fields(line);
        for (std::string field; fields >> field;) {
            const size_t equals = field.find('=');
            if (equals == std::string::npos) continue;
            const std::string key = field.substr(0, equals), value = field.substr(equals + 1);
            if (key == "JobId") task.jobId = value;
            if (key == "JobState") task.state = value;
            if (key == "Restarts") task.restarts = std::atoi(value.c_str());
            // Pending tasks are one record: "1-3", "1,4" or "1-8%2" (at most 2 at once).
            if (key == "ArrayTaskId") task.arrayTasks = FrameList::parse(value.substr(0, value.find('%')));
        }
        // The script's path may hold spaces; it runs up to the next field.
        const size_t command = line.find(" Command=");
        if (command != std::string::npos) {
            const size_t from = command + 9;
            task.command = line.substr(from, line.find(" WorkDir=", from) - from);
        }
        tasks.push_back(task);
    }
    return tasks;
}

bool Slurm::isActive(const std::string& state) {
    for (const char* active : {"PENDING", "RUNNING", "REQUEUED", "REQUEUE_HOLD", "REQUEUE_FED", "SUSPENDED",
                               "CONFIGURING", "COMPLETING", "RESIZING", "SIGNALING", "STAGE_OUT"}) {
        if (state == active) return true;
    }
    return false;
}

}  // namespace fxhost
