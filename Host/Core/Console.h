// How fxhost speaks to its user. Standard output carries only what a command exists
// to print (a table, a report, a version); everything else goes to standard error:
// notes (progress, summaries) and warnings unless quiet, details only when verbose.
// Errors are the caller's to print, always. Safe to call from any thread.
#pragma once

#include <string>

namespace fxhost {

class Console {
public:
    enum class Level { Quiet, Normal, Verbose };

    static void setLevel(Level level);
    static Level level();
    static bool verbose() { return level() == Level::Verbose; }

    // printf-style; a line is printed whole, so lines from threads do not interleave.
    static void note(const char* format, ...) __attribute__((format(printf, 1, 2)));
    static void detail(const char* format, ...) __attribute__((format(printf, 1, 2)));
    // Where an effect bundle's own standard output goes (EffectHost's bundleOutput): standard
    // error when verbose, /dev/null otherwise.
    static int bundleOutput();

    // "fxhost: warning: TEXT", once per text for the life of the process.
    static void warnOnce(const std::string& text);
};

}  // namespace fxhost
