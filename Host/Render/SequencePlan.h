// Which frames a render writes, decided before anything is loaded or written: the frames given
// (a FrameList; frame 0 for a single file), or for a sequence given none, the first to the last
// input found on disk; for a movie, 1 to its length. Refuses with a JobError: a bad list, frames
// without an input or past a movie's end (2), a gap in the frames found (3), several frames for
// an OUTPUT that is neither a movie nor has a frame number (2), and under --no-clobber outputs that
// exist (3). Under --skip-existing, frames whose output exists are left out (a movie OUTPUT that
// exists leaves out all), and a line on standard error says so.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FrameList.h"
#include "MovieReader.h"

namespace fxhost {

class SequencePlan {
public:
    enum class Existing { Overwrite, Skip, Refuse };

    SequencePlan(const std::string& input, const std::string& output, const std::string& frames,
                 Existing existing = Existing::Overwrite);

    // Every frame of the sequence, and those of them to render, ascending.
    const FrameList& all() const { return mAll; }
    const std::vector<int>& frames() const { return mFrames; }

    // The reader that counted a movie INPUT's frames, for the render to go on with rather than
    // open and index the file again; null for images, or once taken.
    std::unique_ptr<MovieReader> takeReader() { return std::move(mReader); }

    // Removes the temporary files a render killed outright left for this sequence's outputs.
    void removeLeftovers() const;

    // Throws JobError (exit 3) naming `output` when the folder of `first` (its first file's name)
    // is missing, or when `output` is an image whose format the image library cannot write. The
    // commands call it first (the farm makes its outputs' folder when it submits).
    static void requireWritable(const std::string& output, const std::string& first);

    // Whether a frame's file is there: a regular file, as only complete outputs are renamed into place.
    static bool isFile(const std::string& path);

private:
    std::string mOutput;
    FrameList mAll;
    std::vector<int> mFrames;
    std::unique_ptr<MovieReader> mReader;
};

}  // namespace fxhost
