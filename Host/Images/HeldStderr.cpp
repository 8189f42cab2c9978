#include "HeldStderr.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <mutex>
#include <string>

namespace fxhost {

namespace {

std::mutex gMutex;
int gHolders = 0;
int gSaved = -1;  // the real standard error while held
int gHeld = -1;   // the memory file that takes its place

void writeAll(int fd, const std::string& text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n <= 0) return;
        done += static_cast<size_t>(n);
    }
}

std::string readAll(int fd) {
    std::string text;
    char buffer[4096];
    ssize_t n;
    lseek(fd, 0, SEEK_SET);
    while ((n = ::read(fd, buffer, sizeof buffer)) > 0) text.append(buffer, static_cast<size_t>(n));
    return text;
}

}  // namespace

HeldStderr::HeldStderr() {
    std::lock_guard<std::mutex> lock(gMutex);
    if (gHolders++ > 0) return;
    std::fflush(stderr);
    gHeld = memfd_create("fxhost-held-stderr", MFD_CLOEXEC);
    gSaved = gHeld < 0 ? -1 : fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    if (gSaved < 0 || dup2(gHeld, STDERR_FILENO) < 0) {
        if (gSaved >= 0) close(gSaved);
        if (gHeld >= 0) close(gHeld);
        gSaved = gHeld = -1;
    }
}

HeldStderr::~HeldStderr() {
    std::lock_guard<std::mutex> lock(gMutex);
    if (--gHolders > 0 || gSaved < 0) return;
    std::fflush(stderr);
    dup2(gSaved, STDERR_FILENO);
    close(gSaved);
    const std::string text = readAll(gHeld);
    close(gHeld);
    gSaved = gHeld = -1;
    std::string kept;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        const size_t next = end == std::string::npos ? text.size() : end + 1;
        const std::string line = text.substr(at, next - at);
        if (line.rfind("libpng error: ", 0) != 0 && line.rfind("libpng warning: ", 0) != 0) kept += line;
        at = next;
    }
    writeAll(STDERR_FILENO, kept);
}

}  // namespace fxhost
