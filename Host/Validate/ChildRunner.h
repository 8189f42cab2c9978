// Runs a piece of work in a forked child process with a time limit, so a crash, an abort or a
// hang in it is reported instead of taking the caller down. The child's standard output goes to
// /dev/null (the caller's belongs to its report); its standard error is the caller's. The work
// writes ValidationContext lines to the descriptor it is given.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace fxhost {

struct ChildOutcome {
    enum class End { Exited, Signalled, TimedOut, NotStarted };
    End end = End::NotStarted;
    int code = 0;  // exit status, or the signal's number
    std::vector<std::string> failures;
    std::vector<std::string> notes;
    std::string lastStep;  // the last step the child announced
    double seconds = 0;

    bool passed() const { return end == End::Exited && code == 0 && failures.empty(); }
    // "exited with status 3", "was killed by signal 11 (SIGSEGV) at: <step>", "did not finish within
    // 5 s; it was at: <step>", or empty for a clean exit.
    std::string describeEnd(double timeoutSeconds) const;
};

class ChildRunner {
public:
    explicit ChildRunner(double timeoutSeconds) : mTimeout(timeoutSeconds) {}

    // The child runs `work(fd)` and then ends with _exit(0): no exit handlers of a bundle run.
    // A child still running at the limit is killed with SIGKILL.
    ChildOutcome run(const std::function<void(int fd)>& work) const;

private:
    double mTimeout;
};

}  // namespace fxhost
