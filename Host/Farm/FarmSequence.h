// A sequence handed to a farm: its output pattern (absolute), its frames cut into chunks of N, and
// a hidden state folder beside the outputs, OUTDIR/.fxhost-farm/NAME/ ('%' and '#' in NAME become
// '@'), that holds the batch script,
// each chunk's log (chunk-N.log) and progress blocks (chunk-N.progress), and a record of the last
// submission. Chunks are numbered from 1, as the array tasks that render them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "FrameList.h"

namespace fxhost {

class FarmSequence {
public:
    FarmSequence(const std::string& output, const FrameList& frames, int chunkSize);

    // The sequence a state folder's record describes, with that record; throws std::runtime_error
    // when there is none.
    static FarmSequence load(const std::string& stateDir);

    const std::string& output() const { return mOutput; }
    const FrameList& frames() const { return mFrames; }
    int chunkSize() const { return mChunkSize; }
    const std::vector<FrameList>& chunks() const { return mChunks; }
    const std::string& stateDir() const { return mStateDir; }
    std::string chunkFile(int chunk, const std::string& extension) const;

    // The frames of a list whose output is not there.
    FrameList missing(const FrameList& frames) const;
    // The numbers of the chunks with a frame missing.
    FrameList chunksToRender() const;

    // key=value lines kept in STATEDIR/record; save() adds the sequence's own.
    std::map<std::string, std::string> record;
    void save() const;

private:
    std::string mOutput;
    FrameList mFrames;
    int mChunkSize;
    std::vector<FrameList> mChunks;
    std::string mStateDir;
};

}  // namespace fxhost
