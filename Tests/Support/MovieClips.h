// Movies for the tests, made by the ffmpeg program (never shipped): a clip from ffmpeg's own
// arguments, and ffprobe's answer about a file.
#pragma once

#include <string>

#include "CommandRunner.h"

// Runs `ffmpeg -v error -y ARGS PATH`; "" when it worked, else ffmpeg's complaint.
inline std::string makeClip(const std::string& path, const std::string& args) {
    const CommandResult result = runCommand("ffmpeg -nostdin -v error -y " + args + " '" + path + "'");
    return result.status == 0 ? "" : "ffmpeg failed for " + path + ": " + result.err;
}

// ffprobe's standard output for `ffprobe -v error ARGS PATH`.
inline std::string probe(const std::string& path, const std::string& args) {
    return runCommand("ffprobe -v error " + args + " '" + path + "'").out;
}
