// Progress of a sequence for a farm's monitor: after every written frame a block of key=value lines
//   frame=1005  done=5  total=24  fps=3.21  elapsed=1.557  state=running
// one a line, and a last block whose state is end, failed (the log went before end()) or
// interrupted. "-" writes to standard output, a path appends to that file, "" writes nothing; the
// frames done are kept either way, for the line an interruption prints.
#pragma once

#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

namespace fxhost {

class ProgressLog {
public:
    // Throws std::runtime_error naming the file when it can't be opened.
    explicit ProgressLog(const std::string& destination);
    ~ProgressLog();
    ProgressLog(const ProgressLog&) = delete;
    ProgressLog& operator=(const ProgressLog&) = delete;

    void begin(int total);
    void frameDone(int frame);
    void end();
    // The output is one file that exists whole or not at all (a movie): an interruption says it
    // was not written, rather than which frames were done.
    void allOrNothing(const std::string& output);

private:
    void writeBlock(int frame, const char* state);
    std::string interrupted();

    std::mutex mLock;
    FILE* mFile = nullptr;
    bool mOwnsFile = false;
    bool mOpen = false;  // begun and not yet ended
    int mTotal = 0;
    std::vector<int> mDone;
    std::string mWhole;
    std::chrono::steady_clock::time_point mStart;
};

}  // namespace fxhost
