#include "QuietStdout.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace fxhost {

QuietStdout::QuietStdout() {
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null < 0) return;
    // What the application buffered before belongs on its real stdout.
    std::fflush(stdout);
    mSaved = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (mSaved >= 0 && dup2(null, STDOUT_FILENO) < 0) {
        close(mSaved);
        mSaved = -1;
    }
    close(null);
}

QuietStdout::~QuietStdout() {
    if (mSaved < 0) return;
    std::fflush(stdout);  // the bundle's own lines go to /dev/null, not later to the real stdout
    dup2(mSaved, STDOUT_FILENO);
    close(mSaved);
}

}  // namespace fxhost
