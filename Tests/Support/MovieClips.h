// Movies for the tests, made by the ffmpeg program (never shipped): a clip from ffmpeg's own
// arguments, ffprobe's answer about a file, and ffmpeg's decode of one.
#pragma once

#include <cstdlib>
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

// Every frame of the first video stream of PATH (a movie, or a printf pattern of images) as raw
// video from the ffmpeg program: `before` goes before the input (a decoder), `after` after it
// (filters, a pixel format).
inline std::string decode(const std::string& path, const std::string& after, const std::string& before = "") {
    return runCommand("ffmpeg -nostdin -v error " + before + " -i '" + path + "' -map 0:v:0 " + after +
                      " -f rawvideo -")
        .out;
}

// Copies the first half of WHOLE's bytes to CUT, a file broken off part-way; true when it worked.
inline bool halve(const std::string& whole, const std::string& cut) {
    return std::system(("head -c $(( $(stat -c %s '" + whole + "') / 2 )) '" + whole + "' > '" + cut + "'")
                           .c_str()) == 0;
}
