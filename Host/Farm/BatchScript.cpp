#include "BatchScript.h"

#include <algorithm>

namespace fxhost {

namespace {

std::string jobName(const FarmSequence& sequence) {
    return "fxhost-" + sequence.stateDir().substr(sequence.stateDir().find_last_of('/') + 1);
}

}  // namespace

BatchScript::BatchScript(const FarmSequence& sequence, const Options& options)
    : mSequence(sequence), mOptions(options) {}

std::string BatchScript::quote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string BatchScript::text() const {
    const FarmSequence& s = mSequence;
    std::string script = "#!/bin/bash\n";
    script +=
        "# fxhost farm: " + s.output() + ", frames " + s.frames().text() + " in " +
        std::to_string(s.chunks().size()) + " chunks of " + std::to_string(s.chunkSize()) +
        ";\n# array task N renders chunk N. Submitted by fxhost farm submit, which writes it anew each time.\n";
    script += "#SBATCH --job-name=" + jobName(s) + "\n";
    script += "#SBATCH --output=" + s.stateDir() + "/chunk-%a.log\n";
    script += "#SBATCH --open-mode=append\n#SBATCH --requeue\n";
    if (!mOptions.partition.empty()) script += "#SBATCH --partition=" + mOptions.partition + "\n";
    if (!mOptions.time.empty()) script += "#SBATCH --time=" + mOptions.time + "\n";
    if (!mOptions.memory.empty()) script += "#SBATCH --mem=" + mOptions.memory + "\n";
    script += "\ncase \"$SLURM_ARRAY_TASK_ID\" in\n";
    for (size_t i = 0; i < s.chunks().size(); ++i) {
        script += "  " + std::to_string(i + 1) + ") frames=" + s.chunks()[i].text() + " ;;\n";
    }
    script += "  *) echo \"fxhost farm: there is no chunk $SLURM_ARRAY_TASK_ID\" >&2; exit 2 ;;\nesac\n\n";
    script += quote(mOptions.fxhost) + " render --plugin " + quote(mOptions.plugin);
    for (const std::string& set : mOptions.sets) script += " --set " + quote(set);
    for (const std::string& option : mOptions.renderOptions) script += " " + quote(option);
    script += " \\\n    --frames \"$frames\" --skip-existing --progress " + quote(s.stateDir() + "/chunk-") +
              "\"$SLURM_ARRAY_TASK_ID\"" + quote(".progress") + " \\\n    " + quote(mOptions.input) + " " +
              quote(s.output()) + "\n";
    script +=
        "status=$?\n"
        "# A failed chunk runs once more, maybe on another node; a second failure is the check job's to report.\n"
        "if [ \"$status\" -ne 0 ] && [ \"${SLURM_RESTART_COUNT:-0}\" -lt 1 ]; then\n"
        "    echo \"fxhost farm: chunk $SLURM_ARRAY_TASK_ID (frames $frames) failed with status $status; "
        "requeued to run once more\" >&2\n"
        "    scontrol requeue \"${SLURM_ARRAY_JOB_ID}_${SLURM_ARRAY_TASK_ID}\"\n"
        "fi\n"
        "exit \"$status\"\n";
    return script;
}

std::vector<std::string> BatchScript::sharedArgs() const {
    std::vector<std::string> args;
    if (!mOptions.partition.empty()) args.push_back("--partition=" + mOptions.partition);
    if (!mOptions.time.empty()) args.push_back("--time=" + mOptions.time);
    args.insert(args.end(), mOptions.sbatchArgs.begin(), mOptions.sbatchArgs.end());
    return args;
}

std::vector<std::string> BatchScript::arrayArgs(const FrameList& chunks) const {
    // Slurm writes a step as FIRST-LAST:STEP.
    std::string array = chunks.text();
    std::replace(array.begin(), array.end(), 'x', ':');
    std::vector<std::string> args{"--array=" + array};
    args.insert(args.end(), mOptions.sbatchArgs.begin(), mOptions.sbatchArgs.end());
    args.push_back(path());
    return args;
}

std::string BatchScript::checkCommand() const {
    return quote(mOptions.fxhost) + " farm check --frames " + mSequence.frames().text() + " --chunk " +
           std::to_string(mSequence.chunkSize()) + " " + quote(mSequence.output());
}

std::vector<std::string> BatchScript::checkArgs(const std::string& arrayJob) const {
    std::vector<std::string> args{"--dependency=afterany:" + arrayJob,
                                  "--job-name=" + jobName(mSequence) + "-check",
                                  "--output=" + mSequence.stateDir() + "/check.log", "--open-mode=append"};
    const std::vector<std::string> shared = sharedArgs();
    args.insert(args.end(), shared.begin(), shared.end());
    args.push_back("--wrap=" + checkCommand());
    return args;
}

}  // namespace fxhost
