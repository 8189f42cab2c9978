// Runs a shell command, or fxhost with the given arguments, and captures its exit status,
// standard output and standard error.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

struct CommandResult {
    int status;
    std::string out;
    std::string err;
};

inline CommandResult runCommand(const std::string& command) {
    char errName[] = "/tmp/fxhost-test-stderr-XXXXXX";
    const int fd = mkstemp(errName);
    if (fd >= 0) close(fd);
    CommandResult result{-1, "", ""};
    FILE* pipe = popen((command + " 2>" + errName).c_str(), "r");
    if (!pipe) return result;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) result.out.append(buffer, n);
    const int raw = pclose(pipe);
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    std::ifstream err(errName);
    std::stringstream text;
    text << err.rdbuf();
    result.err = text.str();
    std::remove(errName);
    return result;
}

#ifdef OSTRIVANE_FXHOST_PATH
inline CommandResult runFxhost(const std::string& args) {
    return runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " " + args);
}
#endif
