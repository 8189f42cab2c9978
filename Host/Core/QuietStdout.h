// While it lives, descriptor 1 goes to /dev/null and what is written there is lost. The
// descriptor is the process's, so it is used only around the few calls where the bundle prints
// (its GL driver report, when it makes a context); a failure to swap leaves stdout as it was.
#pragma once

namespace fxhost {

class QuietStdout {
public:
    QuietStdout();
    ~QuietStdout();

    QuietStdout(const QuietStdout&) = delete;
    QuietStdout& operator=(const QuietStdout&) = delete;

private:
    int mSaved = -1;
};

}  // namespace fxhost
