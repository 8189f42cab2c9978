// Runs a shell command, or fxhost with the given arguments, and captures its exit status,
// standard output and standard error; reads a text file whole ("" if there is none).
#pragma once

#include <sys/wait.h>
#include <unistd.h>

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

inline std::string readText(const std::string& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

inline CommandResult runCommand(const std::string& command) {
    char errName[] = "/tmp/fxhost-test-stderr-XXXXXX";
    close(mkstemp(errName));
    CommandResult result{-1, "", ""};
    if (FILE* pipe = popen((command + " 2>" + errName).c_str(), "r")) {
        char buffer[4096];
        for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.out.append(buffer, n);
        const int raw = pclose(pipe);
        result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    }
    result.err = readText(errName);
    std::remove(errName);
    return result;
}

#ifdef OSTRIVANE_FXHOST_PATH
inline CommandResult runFxhost(const std::string& args) {
    return runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " " + args);
}
#endif
