#include "Console.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <set>

namespace fxhost {

namespace {

std::atomic<Console::Level> gLevel{Console::Level::Normal};
std::mutex gMutex;

void print(const char* format, va_list args) {
    std::lock_guard<std::mutex> lock(gMutex);
    std::vfprintf(stderr, format, args);
    std::fflush(stderr);
}

}  // namespace

void Console::setLevel(Level level) {
    gLevel = level;
}

Console::Level Console::level() {
    return gLevel;
}

void Console::note(const char* format, ...) {
    if (level() == Level::Quiet) return;
    va_list args;
    va_start(args, format);
    print(format, args);
    va_end(args);
}

void Console::detail(const char* format, ...) {
    if (level() != Level::Verbose) return;
    va_list args;
    va_start(args, format);
    print(format, args);
    va_end(args);
}

int Console::bundleOutput() {
    if (verbose()) return STDERR_FILENO;
    static const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
    return sink;
}

void Console::warnOnce(const std::string& text) {
    static std::set<std::string> said;
    {
        std::lock_guard<std::mutex> lock(gMutex);
        if (!said.insert(text).second) return;
    }
    note("fxhost: warning: %s\n", text.c_str());
}

}  // namespace fxhost
