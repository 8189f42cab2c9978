// How a movie output is encoded, as FFmpeg's users say it: an encoder by name, its quality and
// speed, its pixel format, any of its own options, and the frame rate given to frames that come
// from images. Empty or negative fields mean "the writer's default" (see MovieWriter.h).
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

extern "C" {
#include <libavutil/rational.h>
}

namespace fxhost {

struct MovieOptions {
    std::string codec;                      // an FFmpeg encoder name, such as libx264 or prores_ks
    std::string preset;                     // the encoder's "preset" option
    std::string pixFmt;                     // an FFmpeg pixel format name, such as yuv420p
    int crf = -1;                           // the encoder's "crf" option; -1: the encoder's default
    std::vector<std::string> codecOptions;  // KEY=VALUE, set on the encoder in the order given
    AVRational fps{25, 1};                  // frames from images only; a movie keeps its own timing
};

// Registers --codec NAME, --crf N, --preset NAME, --pix-fmt NAME, --codec-opt KEY=VALUE (repeatable)
// and --fps RATE (25, 29.97, 30000/1001, ntsc...; default 25) on a subcommand. Malformed values are
// refused while parsing (exit 2); whether the encoder takes them is checked by MovieWriter.
void addMovieOptions(CLI::App* command, MovieOptions& options);

// Throws JobError (exit 2) naming the first of those options given on `command` when `output` is
// not a movie: an image output has no encoder or frame rate for them, and they would go unused.
void refuseMovieOptions(const CLI::App* command, const std::string& output);

}  // namespace fxhost
