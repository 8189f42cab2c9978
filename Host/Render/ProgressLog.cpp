#include "ProgressLog.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "FrameList.h"
#include "Interruption.h"

namespace fxhost {

ProgressLog::ProgressLog(const std::string& destination) {
    if (destination == "-") {
        mFile = stdout;
    } else if (!destination.empty()) {
        // Appended, so that a chunk run again after a failure or a resume keeps its earlier blocks.
        mFile = std::fopen(destination.c_str(), "a");
        if (!mFile) {
            throw std::runtime_error("cannot write progress to '" + destination +
                                     "': " + std::strerror(errno));
        }
        mOwnsFile = true;
    }
    Interruption::setReporter([this](int) { return interrupted(); });
}

ProgressLog::~ProgressLog() {
    Interruption::setReporter({});
    std::lock_guard<std::mutex> hold(mLock);
    if (mOpen) writeBlock(mDone.empty() ? -1 : mDone.back(), "failed");
    if (mOwnsFile) std::fclose(mFile);
}

void ProgressLog::begin(int total) {
    std::lock_guard<std::mutex> hold(mLock);
    mTotal = total;
    mDone.clear();
    mOpen = true;
    mStart = std::chrono::steady_clock::now();
}

void ProgressLog::frameDone(int frame) {
    std::lock_guard<std::mutex> hold(mLock);
    mDone.push_back(frame);
    writeBlock(frame, "running");
}

void ProgressLog::end() {
    std::lock_guard<std::mutex> hold(mLock);
    writeBlock(mDone.empty() ? -1 : mDone.back(), "end");
    mOpen = false;
}

void ProgressLog::allOrNothing(const std::string& output) {
    std::lock_guard<std::mutex> hold(mLock);
    mWhole = output;
}

std::string ProgressLog::interrupted() {
    std::lock_guard<std::mutex> hold(mLock);
    if (mOpen) writeBlock(mDone.empty() ? -1 : mDone.back(), "interrupted");
    mOpen = false;
    if (!mWhole.empty()) {
        return "'" + mWhole + "' was not written (" + std::to_string(mDone.size()) + " of " +
               std::to_string(mTotal) + " frames had been encoded)";
    }
    if (mDone.empty()) return "no frame was done";
    return std::to_string(mDone.size()) + " of " + std::to_string(mTotal) + " frames done (" +
           FrameList(mDone).text() + ")";
}

void ProgressLog::writeBlock(int frame, const char* state) {
    if (!mFile) return;
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    // frame is empty before the first frame is done.
    std::fprintf(mFile, "frame=%s\ndone=%zu\ntotal=%d\nfps=%.2f\nelapsed=%.3f\nstate=%s\n",
                 frame < 0 ? "" : std::to_string(frame).c_str(), mDone.size(), mTotal,
                 elapsed > 0 ? mDone.size() / elapsed : 0.0, elapsed, state);
    std::fflush(mFile);
}

}  // namespace fxhost
