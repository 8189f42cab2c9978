#include "FarmCommand.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>

#include "BatchScript.h"
#include "Bundle.h"
#include "FarmSequence.h"
#include "FramePattern.h"
#include "HostWorld.h"
#include "ImageReader.h"
#include "Look.h"
#include "MovieFile.h"
#include "RenderJob.h"
#include "SequencePlan.h"
#include "Slurm.h"

namespace fxhost {

namespace {

std::string absolute(const std::string& path) {
    return std::filesystem::absolute(path).lexically_normal().string();
}

std::string thisProgram() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) throw JobError(1, "cannot find fxhost's own path: " + error.message());
    return self.string();
}

std::string joined(const std::vector<std::string>& args) {
    std::string line;
    for (const std::string& arg : args) line += " " + BatchScript::quote(arg);
    return line;
}

// Whether a finished frame is there: a file that reads back as an image.
bool readsBack(const std::string& path) {
    if (!SequencePlan::isFile(path)) return false;
    try {
        ImageReader reader(path);
        HostWorld world(reader.width(), reader.height(), Depth::Eight);
        std::vector<float> extra;
        reader.read(world, extra);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

}  // namespace

FarmCommand::FarmCommand(CLI::App& app) : mPlugin(Bundle::besideExecutable()) {
    mFarm = app.add_subcommand("farm", "Render a sequence on a Slurm cluster, in chunks of frames");
    mFarm->require_subcommand(1);
    mSubmit = mFarm->add_subcommand(
        "submit", "Submit the chunks with a missing frame; prints the array job's id alone on stdout");
    mSubmit->add_option("--plugin", mPlugin, "The effect bundle (default: the one built beside fxhost)");
    mSubmit->add_option("--set", mSets, "As render's: NAME=VALUE or keys NAME=V@F,V@F,...");
    mSubmit->add_option(
        "--look", mLook,
        "As render's: a look file; copied into the state folder, and every chunk renders with the copy");
    mSubmit->add_option("--frames", mFrames,
                        "The frames: 1001-1100, 1-100x5, 1-10,20 (default: all on disk)");
    mSubmit->add_option("--png-compression", mPngCompression, "As render's: zlib level of PNG output, 0 to 9")
        ->check(CLI::Range(0, 9));
    mSubmit->add_flag("--strict-depth", mStrictDepth, "As render's: refuse inputs deeper than 8 bits");
    mSubmit
        ->add_option("--renderer", mRenderer,
                     "As render's: auto, gl or cpu; auto is settled here, so every chunk renders with the same one")
        ->check(CLI::IsMember({"auto", "gl", "cpu"}));
    mSubmit->add_option("--chunk", mChunk, "Frames a task renders")->required()->check(CLI::PositiveNumber);
    mSubmit->add_option("--partition", mPartition, "Slurm partition");
    mSubmit->add_option("--time", mTime, "Time limit of a task, as sbatch takes it");
    mSubmit->add_option("--mem", mMemory, "Memory of a task, as sbatch takes it");
    mSubmit->add_option("--sbatch-arg", mSbatchArgs,
                        "An argument for sbatch as it is (--sbatch-arg=--qos=high)");
    mSubmit->add_flag("--dry-run", mDryRun, "Print the batch script and the sbatch lines; submit nothing");
    mSubmit->add_option("INPUT", mInput,
                        "Input sequence (%04d or #### stands for the frame number), or a movie, whose frames "
                        "are numbered from 1")
        ->required();
    mSubmit->add_option("OUTPUT", mOutput, "Output sequence")->required();

    mStatus = mFarm->add_subcommand("status", "Each chunk's state and frames done");
    mStatus->add_option("JOB", mJob, "The array job's id, or the OUTPUT pattern it renders")->required();

    mCheck = mFarm->add_subcommand("check", "Check that every frame is there and reads back (the check job)");
    mCheck->add_option("--frames", mFrames, "The frames")->required();
    mCheck->add_option("--chunk", mChunk, "Frames a chunk, to name the chunks to run again")
        ->check(CLI::PositiveNumber);
    mCheck->add_option("OUTPUT", mOutput, "Output sequence")->required();
}

int FarmCommand::run() {
    if (mSubmit->parsed()) return submit();
    if (mStatus->parsed()) return status();
    return check();
}

int FarmCommand::submit() {
    // An empty value reads as no --frames at all; only the option's count tells them apart.
    if (mSubmit->get_option("--frames")->count() > 0 && mFrames.empty())
        throw JobError(JobError::kUsage, "--frames: the list is empty");
    // Chunks render on any node in any order; one movie cannot be written that way.
    if (MovieFile::isMovie(mOutput)) {
        throw JobError(JobError::kUsage,
                       "the farm writes image sequences, not a movie ('" + mOutput +
                           "'): render to images on the farm (an OUTPUT such as out_%04d.png), then make "
                           "the movie from them with fxhost render out_%04d.png " + mOutput);
    }
    const std::string input = absolute(mInput), output = absolute(mOutput);
    const SequencePlan plan(input, output, mFrames);
    FarmSequence sequence(output, plan.all(), mChunk);

    // A second job over the same outputs would render the same frames twice, racing on their names.
    try {
        const std::string previous = FarmSequence::load(sequence.stateDir()).record["array_job"];
        for (const Slurm::Task& task :
             previous.empty() ? std::vector<Slurm::Task>() : Slurm::show(previous)) {
            if (Slurm::isActive(task.state)) {
                throw JobError(JobError::kUsage, "job " + previous + " is still rendering " + output +
                                                     "; wait for it (fxhost farm status " + previous +
                                                     ") or cancel it (scancel " + previous + ")");
            }
        }
    } catch (const std::runtime_error& e) {
        if (dynamic_cast<const JobError*>(&e)) throw;  // else no record, or Slurm no longer knows the job
    }

    const FrameList chunks = sequence.chunksToRender();
    if (chunks.empty()) {
        std::cerr << "fxhost farm: all " << sequence.frames().size() << " frames of " << output
                  << " exist; nothing to submit\n";
        return 0;
    }
    if (!std::filesystem::is_regular_file(mPlugin))
        throw JobError(1, "cannot load effect bundle '" + mPlugin + "': no such readable file");
    // The look and keys are checked against the effect here, so that no chunk is sent to fail on them.
    ParameterSettings settings;
    if (!mLook.empty()) {
        try {
            settings.setLook(Look::read(mLook));
        } catch (const std::invalid_argument& e) {
            throw JobError(JobError::kUsage, e.what());
        }
    }
    for (const std::string& set : mSets) settings.add(set);
    OutputOptions checkOptions;
    checkOptions.renderer = parseRenderer(mRenderer);
    Renderer served = Renderer::GL;
    {
        RenderJob checked(absolute(mPlugin), settings, checkOptions);
        served = checked.host().renderer();
    }
    // Chunks read a copy taken now: one queued, requeued or resumed later renders with the look
    // as it was submitted, however the original is edited meanwhile.
    const std::string lookCopy = sequence.stateDir() + "/look.json";
    std::vector<std::string> renderOptions;
    if (!mLook.empty()) renderOptions = {"--look", lookCopy};
    if (mPngCompression >= 0) {
        renderOptions.insert(renderOptions.end(), {"--png-compression", std::to_string(mPngCompression)});
    }
    if (mStrictDepth) renderOptions.push_back("--strict-depth");
    renderOptions.insert(renderOptions.end(), {"--renderer", rendererName(served)});
    const BatchScript script(sequence, {thisProgram(), absolute(mPlugin), input, mSets, renderOptions,
                                        mPartition, mTime, mMemory, mSbatchArgs});
    size_t toRender = 0;
    for (int chunk : chunks.frames()) toRender += sequence.missing(sequence.chunks()[chunk - 1]).size();
    const std::string what = "chunks " + chunks.text() + " of " + std::to_string(sequence.chunks().size()) +
                             " (" + std::to_string(toRender) + " of " +
                             std::to_string(sequence.frames().size()) + " frames to render, " +
                             std::to_string(mChunk) + " a chunk)";
    if (mDryRun) {
        std::cout << script.text() << "\n# " << what << ":\n# sbatch --parsable"
                  << joined(script.arrayArgs(chunks)) << "\n# sbatch --parsable"
                  << joined(script.checkArgs("ARRAY_JOB")) << "\n";
        return 0;
    }

    std::filesystem::create_directories(sequence.stateDir());
    if (!mLook.empty()) {
        std::filesystem::copy_file(mLook, lookCopy, std::filesystem::copy_options::overwrite_existing);
    }
    std::ofstream(script.path(), std::ios::trunc) << script.text();
    std::filesystem::permissions(script.path(), std::filesystem::perms::owner_exec,
                                 std::filesystem::perm_options::add);
    const std::string arrayJob = Slurm::submit(script.arrayArgs(chunks));
    sequence.record["array_job"] = arrayJob;
    sequence.record["chunks_submitted"] = chunks.text();
    sequence.save();
    const std::string checkJob = Slurm::submit(script.checkArgs(arrayJob));
    sequence.record["check_job"] = checkJob;
    sequence.save();
    std::cerr << "fxhost farm: job " << arrayJob << " renders " << what << "; check job " << checkJob
              << " runs after it; logs and progress in " << sequence.stateDir() << "\n";
    std::cout << arrayJob << std::endl;
    return 0;
}

int FarmCommand::status() {
    const bool isJob = mJob.find_first_not_of("0123456789") == std::string::npos;
    std::string jobId = mJob, stateDir;
    std::vector<Slurm::Task> tasks;
    if (isJob) {
        try {
            tasks = Slurm::show(jobId);
        } catch (const std::runtime_error& e) {
            throw JobError(
                1, std::string(e.what()) +
                       " (Slurm forgets a job some minutes after it ends: give the OUTPUT pattern instead)");
        }
        if (tasks.empty() || tasks.front().command.empty())
            throw JobError(1, "job " + jobId + " has no batch script");
        stateDir = std::filesystem::path(tasks.front().command).parent_path().string();
    } else {
        stateDir = FarmSequence(absolute(mJob), FrameList(), 1).stateDir();
    }
    FarmSequence sequence = [&] {
        try {
            return FarmSequence::load(stateDir);
        } catch (const std::runtime_error& e) {
            throw JobError(JobError::kUsage, std::string(e.what()) + ": not a job of fxhost farm submit");
        }
    }();
    if (!isJob) {
        jobId = sequence.record["array_job"];
        try {
            tasks = Slurm::show(jobId);
        } catch (const std::runtime_error&) {
        }
    }
    std::string checkState = "unknown to Slurm";
    try {
        checkState = Slurm::show(sequence.record["check_job"]).at(0).state;
    } catch (const std::exception&) {
    }
    std::printf("job %s: %s, frames %s in %zu chunks of %d; check job %s: %s\n", jobId.c_str(),
                sequence.output().c_str(), sequence.frames().text().c_str(), sequence.chunks().size(),
                sequence.chunkSize(), sequence.record["check_job"].c_str(), checkState.c_str());
    std::printf("%-6s %-16s %-12s %-9s %s\n", "chunk", "frames", "state", "restarts", "done");
    for (size_t i = 0; i < sequence.chunks().size(); ++i) {
        const FrameList& chunk = sequence.chunks()[i];
        std::string state = tasks.empty() ? "unknown" : "not in job", restarts = "-";
        for (const Slurm::Task& task : tasks) {
            const std::vector<int>& ids = task.arrayTasks.frames();
            if (std::find(ids.begin(), ids.end(), static_cast<int>(i + 1)) != ids.end()) {
                state = task.state;
                restarts = std::to_string(task.restarts);
            }
        }
        std::printf("%-6zu %-16s %-12s %-9s %zu/%zu\n", i + 1, chunk.text().c_str(), state.c_str(),
                    restarts.c_str(), chunk.size() - sequence.missing(chunk).size(), chunk.size());
    }
    return 0;
}

int FarmCommand::check() {
    FrameList frames;
    try {
        frames = FrameList::parse(mFrames);
    } catch (const std::invalid_argument& e) {
        throw JobError(JobError::kUsage, "--frames: " + std::string(e.what()));
    }
    const FarmSequence sequence(absolute(mOutput), frames, mChunk ? mChunk : static_cast<int>(frames.size()));
    const FramePattern out(sequence.output());
    size_t bad = 0;
    for (size_t i = 0; i < sequence.chunks().size(); ++i) {
        std::vector<int> missing;
        for (int frame : sequence.chunks()[i].frames()) {
            if (!readsBack(out.name(frame))) missing.push_back(frame);
        }
        if (missing.empty()) continue;
        bad += missing.size();
        std::cerr << "fxhost farm: chunk " << i + 1 << " (frames " << sequence.chunks()[i].text()
                  << "): missing or unreadable " << FrameList(missing).text() << "; its log is "
                  << sequence.chunkFile(static_cast<int>(i + 1), "log") << "\n";
    }
    if (bad) {
        std::cerr << "fxhost farm: " << bad << " of " << frames.size() << " frames of " << sequence.output()
                  << " are missing or unreadable; fxhost farm submit with the same arguments renders them\n";
        return JobError::kImage;
    }
    std::cerr << "fxhost farm: all " << frames.size() << " frames of " << sequence.output()
              << " are there and read back\n";
    return 0;
}

}  // namespace fxhost
