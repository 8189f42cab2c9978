// SIGINT and SIGTERM, taken on a thread of their own rather than in a handler: the temporary files
// registered at that moment are removed, the registered reporter says which frames were done, and
// the process exits 130 or 143 (128 + the signal), as a shell reports a program ended by one.
#pragma once

#include <functional>
#include <string>

namespace fxhost {

class Interruption {
public:
    // Blocks the two signals and starts the thread that waits for them. Call it before any other
    // thread starts, so that every thread inherits the blocked signals; once is enough.
    static void install();

    // A file being written: removed if a signal comes before it is withdrawn.
    static void addTemporary(const std::string& path);
    static void withdrawTemporary(const std::string& path);

    // Held while a registered temporary file is created or renamed. An interruption waits for the
    // guards under way, removes the registered files, and lets no guard start again, so no file
    // can appear under a removed name before the process ends. Registering and withdrawing may
    // happen inside a guard.
    class FileGuard {
    public:
        FileGuard();
        ~FileGuard();
        FileGuard(const FileGuard&) = delete;
        FileGuard& operator=(const FileGuard&) = delete;
    };

    // Called with the signal, under the same lock, before the process exits; returns the sentence
    // to print. An empty function withdraws the reporter.
    static void setReporter(std::function<std::string(int signal)> reporter);

    // A command that stops on its own (a server) takes the next signal instead: `stopper` is
    // called once, with the signal, on the signal thread, and the process is left to end itself.
    // A second signal ends it as usual. Setting or withdrawing (an empty function) waits for a
    // stopper that is running to return, so that what it uses may go once this returns.
    static void setStopper(std::function<void(int signal)> stopper);

    // Child processes get the default mask back, since exec keeps the blocked signals.
    static void unblockInChild();
};

}  // namespace fxhost
