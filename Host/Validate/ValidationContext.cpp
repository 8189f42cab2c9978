#include "ValidationContext.h"

#include <unistd.h>

namespace fxhost {

void ValidationContext::fail(const std::string& what) {
    ++mFailures;
    send(kFailure, what);
}

bool ValidationContext::check(bool ok, const std::string& what) {
    if (!ok) fail(what);
    return ok;
}

void ValidationContext::send(char kind, const std::string& text) const {
    std::string line(1, kind);
    // One record is one line: the validator splits on newlines.
    for (char c : text) line += (c == '\n' || c == '\r') ? ' ' : c;
    line += '\n';
    const char* p = line.data();
    size_t left = line.size();
    while (left > 0) {
        const ssize_t n = write(mFd, p, left);
        if (n <= 0) return;
        p += n;
        left -= static_cast<size_t>(n);
    }
}

}  // namespace fxhost
