// What a validation test sees inside its child process: the options it runs with, and a line
// channel back to the validator for failures, notes (reported, not judged) and the step it is
// at, so that a crash or a hang can be placed. Writing never throws; a lost line is lost.
#pragma once

#include <string>

namespace fxhost {

enum class Level { Quick, Full };

struct ValidateOptions {
    std::string bundle;
    Level level = Level::Quick;
    unsigned seed = 1;
    double timeoutSeconds = 60;
};

class ValidationContext {
public:
    // Lines go to the file descriptor `fd` (a pipe to the validator), one record a line.
    ValidationContext(const ValidateOptions& options, int fd) : mOptions(options), mFd(fd) {}

    const ValidateOptions& options() const { return mOptions; }
    bool full() const { return mOptions.level == Level::Full; }

    void step(const std::string& what) { send('S', what); }
    void note(const std::string& what) { send('N', what); }
    void fail(const std::string& what);
    // Fails with `what` unless `ok`; gives `ok` back.
    bool check(bool ok, const std::string& what);
    int failures() const { return mFailures; }

    // The kinds of line: S step, N note, F failure.
    static constexpr char kStep = 'S', kNote = 'N', kFailure = 'F';

private:
    void send(char kind, const std::string& text) const;

    ValidateOptions mOptions;
    int mFd;
    int mFailures = 0;
};

}  // namespace fxhost
