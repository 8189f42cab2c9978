#include "FarmSequence.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "FramePattern.h"
#include "SequencePlan.h"

namespace fxhost {

FarmSequence::FarmSequence(const std::string& output, const FrameList& frames, int chunkSize)
    : mOutput(output), mFrames(frames), mChunkSize(chunkSize), mChunks(frames.chunks(chunkSize)) {
    const size_t slash = output.find_last_of('/');
    std::string name = output.substr(slash + 1);
    // The folder's name goes into sbatch's --output, where '%' starts a replacement, and into an
    // #SBATCH line, where '#' starts a comment.
    std::replace(name.begin(), name.end(), '%', '@');
    std::replace(name.begin(), name.end(), '#', '@');
    mStateDir = output.substr(0, slash + 1) + ".fxhost-farm/" + name;
}

FarmSequence FarmSequence::load(const std::string& stateDir) {
    std::ifstream file(stateDir + "/record");
    if (!file) throw std::runtime_error("no fxhost farm record in '" + stateDir + "'");
    std::map<std::string, std::string> record;
    for (std::string line; std::getline(file, line);) {
        const size_t equals = line.find('=');
        if (equals != std::string::npos) record[line.substr(0, equals)] = line.substr(equals + 1);
    }
    FarmSequence sequence(record["output"], FrameList::parse(record["frames"]), std::stoi(record["chunk"]));
    sequence.record = record;
    return sequence;
}

std::string FarmSequence::chunkFile(int chunk, const std::string& extension) const {
    return mStateDir + "/chunk-" + std::to_string(chunk) + "." + extension;
}

FrameList FarmSequence::missing(const FrameList& frames) const {
    const FramePattern out(mOutput);
    std::vector<int> missing;
    for (int frame : frames.frames()) {
        if (!SequencePlan::isFile(out.name(frame))) missing.push_back(frame);
    }
    return FrameList(missing);
}

FrameList FarmSequence::chunksToRender() const {
    std::vector<int> chunks;
    for (size_t i = 0; i < mChunks.size(); ++i) {
        if (!missing(mChunks[i]).empty()) chunks.push_back(static_cast<int>(i + 1));
    }
    return FrameList(chunks);
}

void FarmSequence::save() const {
    std::filesystem::create_directories(mStateDir);
    std::map<std::string, std::string> all = record;
    all["output"] = mOutput;
    all["frames"] = mFrames.text();
    all["chunk"] = std::to_string(mChunkSize);
    std::ofstream file(mStateDir + "/record", std::ios::trunc);
    for (const auto& [key, value] : all) file << key << '=' << value << '\n';
    if (!file.flush()) throw std::runtime_error("cannot write '" + mStateDir + "/record'");
}

}  // namespace fxhost
