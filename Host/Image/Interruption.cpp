#include "Interruption.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <mutex>
#include <set>
#include <thread>

namespace fxhost {

namespace {

std::mutex gLock;
std::multiset<std::string> gTemporaries;
std::function<std::string(int)> gReporter;

sigset_t interruptSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

void waitForSignal() {
    const sigset_t signals = interruptSignals();
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
    // The lock is kept to the end: no file is registered, renamed into the removed name's place or
    // reported after this point. Other threads may be anywhere, so the process ends with _exit.
    gLock.lock();
    for (const std::string& path : gTemporaries) unlink(path.c_str());
    const std::string report = gReporter ? gReporter(signal) : std::string();
    std::fprintf(stderr, "%sfxhost: interrupted by %s%s%s\n", isatty(STDERR_FILENO) ? "\n" : "",
                 signal == SIGINT ? "SIGINT" : "SIGTERM", report.empty() ? "" : "; ", report.c_str());
    std::fflush(stderr);
    std::fflush(stdout);
    _exit(128 + signal);
}

}  // namespace

void Interruption::install() {
    static std::once_flag once;
    std::call_once(once, [] {
        const sigset_t signals = interruptSignals();
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        std::thread(waitForSignal).detach();
    });
}

void Interruption::addTemporary(const std::string& path) {
    std::lock_guard<std::mutex> hold(gLock);
    gTemporaries.insert(path);
}

void Interruption::withdrawTemporary(const std::string& path) {
    std::lock_guard<std::mutex> hold(gLock);
    const auto it = gTemporaries.find(path);
    if (it != gTemporaries.end()) gTemporaries.erase(it);
}

void Interruption::setReporter(std::function<std::string(int signal)> reporter) {
    std::lock_guard<std::mutex> hold(gLock);
    gReporter = std::move(reporter);
}

void Interruption::unblockInChild() {
    const sigset_t signals = interruptSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace fxhost
