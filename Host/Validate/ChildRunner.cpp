#include "ChildRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cerrno>
#include <cstring>
#include <iostream>

#include "ValidationContext.h"

namespace fxhost {

namespace {

void takeLine(const std::string& line, ChildOutcome& outcome) {
    if (line.empty()) return;
    const std::string text = line.substr(1);
    switch (line[0]) {
        case ValidationContext::kStep:
            outcome.lastStep = text;
            break;
        case ValidationContext::kNote:
            outcome.notes.push_back(text);
            break;
        case ValidationContext::kFailure:
            outcome.failures.push_back(text);
            break;
        default:
            break;
    }
}

std::string signalName(int signal) {
    const char* abbrev = sigabbrev_np(signal);
    return abbrev ? std::string("SIG") + abbrev : std::to_string(signal);
}

}  // namespace

std::string ChildOutcome::describeEnd(double timeoutSeconds) const {
    const std::string at = lastStep.empty() ? "" : " at: " + lastStep;
    char limit[32];
    std::snprintf(limit, sizeof limit, "%g", timeoutSeconds);
    switch (end) {
        case End::Exited:
            return code == 0 ? "" : "exited with status " + std::to_string(code) + at;
        case End::Signalled:
            return "was killed by signal " + std::to_string(code) + " (" + signalName(code) + ")" + at;
        case End::TimedOut:
            return "did not finish within " + std::string(limit) + " s (killed);" +
                   (lastStep.empty() ? std::string(" no step announced") : " it was at: " + lastStep);
        case End::NotStarted:
            return "could not be started";
    }
    return "";
}

ChildOutcome ChildRunner::run(const std::function<void(int fd)>& work) const {
    ChildOutcome outcome;
    int fds[2];
    if (pipe(fds) != 0) return outcome;
    // Whatever the caller has buffered must not be written twice, once by each process.
    std::fflush(nullptr);
    std::cout.flush();
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid < 0) {
        close(fds[0]);
        close(fds[1]);
        return outcome;
    }
    if (pid == 0) {
        close(fds[0]);
        const int null = open("/dev/null", O_WRONLY);
        if (null >= 0) dup2(null, STDOUT_FILENO);
        work(fds[1]);
        _exit(0);
    }
    close(fds[1]);

    std::string pending;
    bool timedOut = false;
    for (;;) {
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const int waitMs = static_cast<int>((mTimeout - elapsed) * 1000);
        if (waitMs <= 0) {
            timedOut = true;
            break;
        }
        pollfd p{fds[0], POLLIN, 0};
        const int ready = poll(&p, 1, waitMs);
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) continue;  // the deadline is checked at the top
        char buffer[4096];
        const ssize_t n = read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;  // every writer is gone: the child has ended
        pending.append(buffer, static_cast<size_t>(n));
        for (size_t eol; (eol = pending.find('\n')) != std::string::npos;) {
            takeLine(pending.substr(0, eol), outcome);
            pending.erase(0, eol + 1);
        }
    }
    if (timedOut) kill(pid, SIGKILL);
    close(fds[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (timedOut) {
        outcome.end = ChildOutcome::End::TimedOut;
    } else if (WIFSIGNALED(status)) {
        outcome.end = ChildOutcome::End::Signalled;
        outcome.code = WTERMSIG(status);
    } else {
        outcome.end = ChildOutcome::End::Exited;
        outcome.code = WEXITSTATUS(status);
    }
    return outcome;
}

}  // namespace fxhost
