#include "SequencePlan.h"

#include <sys/stat.h>

#include <cstdio>
#include <stdexcept>

#include "FramePattern.h"
#include "ImageLibrary.h"
#include "MovieFile.h"
#include "MovieReader.h"
#include "PartialFile.h"
#include "PngOutput.h"
#include "RenderJob.h"

namespace fxhost {

namespace {

FrameList framesOnDisk(const FramePattern& in, const std::string& input) {
    FrameList found;
    try {
        found = in.existingFrames();
    } catch (const std::runtime_error& e) {
        throw JobError(JobError::kImage, e.what());
    }
    if (found.empty()) throw JobError(JobError::kImage, "no frames of '" + input + "' found");
    std::vector<int> gaps;
    for (size_t i = 1; i < found.size(); ++i) {
        for (int frame = found.frames()[i - 1] + 1; frame < found.frames()[i]; ++frame) gaps.push_back(frame);
    }
    if (!gaps.empty()) {
        throw JobError(JobError::kImage, "'" + input + "' has frames " + std::to_string(found.first()) +
                                             " to " + std::to_string(found.last()) + " but not " +
                                             FrameList(gaps).text() + "; give --frames to render a part");
    }
    return found;
}

}  // namespace

// Before the effect is even loaded, not after the first frame is rendered. No folder is made, as
// ffmpeg makes none: a mistyped folder would otherwise quietly fill a new one.
void SequencePlan::requireWritable(const std::string& output, const std::string& first) {
    const size_t slash = first.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : first.substr(0, slash);
    const bool movie = MovieFile::isMovie(output);
    const std::string what = std::string("cannot write ") + (movie ? "'" : "image '") + output + "': ";
    struct stat info;
    if (stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        throw JobError(JobError::kImage,
                       what + "no folder '" + folder + "' to write it in (none is made: mkdir -p " + folder + ")");
    // PNG is written through libspng, always: the image library is loaded only for other formats.
    if (movie || PngOutput::isPngName(first)) return;
    try {
        ImageLibrary::codec().createOutput(first, ImageHeader(), 1, 1, 0, WriteOptions());
    } catch (const JobError&) {
        throw;
    } catch (const std::runtime_error&) {
        const size_t dot = first.find_last_of('.');
        const std::string kind = dot == std::string::npos || dot < slash + 1 ? "a name without an extension"
                                                                              : first.substr(dot) + " files";
        throw JobError(JobError::kImage, what + "no image format here writes " + kind +
                                             " (png, tif, exr, jpg, dpx, webp... do; movies: mov, mp4, mkv...)");
    }
}

bool SequencePlan::isFile(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

SequencePlan::SequencePlan(const std::string& input, const std::string& output, const std::string& frames,
                           Existing existing)
    : mOutput(output) {
    const FramePattern in(input), out(output);
    const bool movieIn = MovieFile::isMovie(input), movieOut = MovieFile::isMovie(output);
    // A movie's frames are 1 to its length; counting them reads the file's packets, no pixels.
    if (movieIn) mReader = std::make_unique<MovieReader>(input);
    const int length = movieIn ? mReader->frameCount() : 0;
    if (!frames.empty()) {
        try {
            mAll = FrameList::parse(frames);
        } catch (const std::invalid_argument& e) {
            throw JobError(JobError::kUsage, "--frames: " + std::string(e.what()));
        }
    } else if (movieIn) {
        std::vector<int> all;
        for (int frame = 1; frame <= length; ++frame) all.push_back(frame);
        mAll = FrameList(all);
    } else {
        mAll = in.isSequence() ? framesOnDisk(in, input) : FrameList({0});
    }
    if (mAll.size() > 1 && !out.isSequence() && !movieOut) {
        throw JobError(JobError::kUsage, "OUTPUT needs a frame number (%04d or ####) to hold " +
                                             std::to_string(mAll.size()) + " frames");
    }
    if (movieIn && !frames.empty()) {
        std::vector<int> outside;
        for (int frame : mAll.frames()) {
            if (frame < 1 || frame > length) outside.push_back(frame);
        }
        if (!outside.empty()) {
            throw JobError(JobError::kUsage, "--frames " + frames + ": '" + input + "' has " +
                                                 std::to_string(length) + " frames, numbered 1 to " +
                                                 std::to_string(length) + "; it has no frames " +
                                                 FrameList(outside).text());
        }
    }
    if (in.isSequence() && !movieIn && !frames.empty()) {
        std::vector<int> missing;
        for (int frame : mAll.frames()) {
            if (!isFile(in.name(frame))) missing.push_back(frame);
        }
        if (!missing.empty()) {
            throw JobError(JobError::kUsage, "--frames " + frames + ": no input for frames " +
                                                 FrameList(missing).text() + " (no '" +
                                                 in.name(missing.front()) + "')");
        }
    }
    if (movieOut && existing != Existing::Overwrite && isFile(output)) {
        // A movie is one file: there, it holds every frame.
        if (existing == Existing::Refuse) throw JobError(JobError::kImage, "--no-clobber: '" + output + "' exists");
        std::fprintf(stderr, "fxhost: skipping all %zu frames: '%s' exists\n", mAll.size(), output.c_str());
        return;
    }
    if (movieOut) {
        mFrames = mAll.frames();
        return;
    }
    std::vector<int> present;
    for (int frame : mAll.frames()) {
        (isFile(out.name(frame)) ? present : mFrames).push_back(frame);
    }
    if (existing == Existing::Overwrite) {
        mFrames = mAll.frames();
    } else if (existing == Existing::Refuse && !present.empty()) {
        throw JobError(JobError::kImage, "--no-clobber: the outputs of frames " + FrameList(present).text() +
                                             " exist (" + out.name(present.front()) + ")");
    } else if (!present.empty()) {
        std::fprintf(stderr, "fxhost: skipping %zu of %zu frames whose output exists (%s)\n", present.size(),
                     mAll.size(), FrameList(present).text().c_str());
    }
}

void SequencePlan::removeLeftovers() const {
    const FramePattern out(mOutput);
    for (int frame : mAll.frames()) std::remove(PartialFile::nameFor(out.name(frame)).c_str());
}

}  // namespace fxhost
