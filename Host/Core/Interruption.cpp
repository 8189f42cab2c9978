#include "Interruption.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <thread>

namespace fxhost {

namespace {

// Taken before gLock wherever both are held: shared by each FileGuard, for good by the exit.
std::shared_mutex gFiles;
std::mutex gLock;
std::multiset<std::string> gTemporaries;
std::function<std::string(int)> gReporter;
std::function<void(int)> gStopper;
bool gStopping = false;  // a stopper is running
std::condition_variable gStopped;
// Standard error as it was at install(): the last line goes there even while a library holds
// descriptor 2 for a moment (libpng's chatter, Host/Images' HeldStderr).
int gStderr = STDERR_FILENO;

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
    for (;;) {
        while (sigwait(&signals, &signal) != 0) {
        }
        std::unique_lock<std::mutex> hold(gLock);
        if (!gStopper) {
            // A writer between creating its file and registering it holds gFiles and may wait for
            // gLock: both are let go, then taken in the writers' order and kept to the end.
            hold.unlock();
            gFiles.lock();
            hold.lock();
            hold.release();
            break;
        }
        // The stopper runs without the lock, so that it may wait for threads that register files.
        const std::function<void(int)> stopper = std::move(gStopper);
        gStopper = nullptr;
        gStopping = true;
        hold.unlock();
        stopper(signal);
        hold.lock();
        gStopping = false;
        gStopped.notify_all();
    }
    // Both locks are kept to the end: no file is created, registered, renamed or reported after
    // this point, so none appears under a name removed here. Other threads may be anywhere, so
    // the process ends with _exit.
    for (const std::string& path : gTemporaries) unlink(path.c_str());
    const std::string report = gReporter ? gReporter(signal) : std::string();
    std::fflush(stderr);
    dprintf(gStderr, "%sfxhost: interrupted by %s%s%s\n", isatty(gStderr) ? "\n" : "",
            signal == SIGINT ? "SIGINT" : "SIGTERM", report.empty() ? "" : "; ", report.c_str());
    std::fflush(stdout);
    _exit(128 + signal);
}

}  // namespace

void Interruption::install() {
    static std::once_flag once;
    std::call_once(once, [] {
        const sigset_t signals = interruptSignals();
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        const int saved = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
        if (saved >= 0) gStderr = saved;
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

Interruption::FileGuard::FileGuard() { gFiles.lock_shared(); }

Interruption::FileGuard::~FileGuard() { gFiles.unlock_shared(); }

void Interruption::setReporter(std::function<std::string(int signal)> reporter) {
    std::lock_guard<std::mutex> hold(gLock);
    gReporter = std::move(reporter);
}

void Interruption::setStopper(std::function<void(int signal)> stopper) {
    std::unique_lock<std::mutex> hold(gLock);
    gStopped.wait(hold, [] { return !gStopping; });
    gStopper = std::move(stopper);
}

void Interruption::unblockInChild() {
    const sigset_t signals = interruptSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace fxhost
