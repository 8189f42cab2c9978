// Runs a program by path or PATH search, without a shell, and waits for it. Its standard output
// and standard error are captured whole; status is its exit status, 128 + N when signal N ended
// it, and 127 when it could not be started.
#pragma once

#include <string>
#include <vector>

namespace fxhost {

struct ProcessResult {
    int status = 127;
    std::string out;
    std::string err;
};

ProcessResult runProcess(const std::vector<std::string>& argv);

}  // namespace fxhost
