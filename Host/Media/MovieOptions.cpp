#include "MovieOptions.h"

#include "JobError.h"
#include "MovieFile.h"

extern "C" {
#include <libavutil/parseutils.h>
}

namespace fxhost {

void addMovieOptions(CLI::App* command, MovieOptions& options) {
    command->add_option("--codec", options.codec, "Movie output: an FFmpeg encoder (libx264, prores_ks, ffv1...)");
    command->add_option("--crf", options.crf, "Movie output: the encoder's constant rate factor")
        ->check(CLI::Range(0, 63));
    command->add_option("--preset", options.preset, "Movie output: the encoder's preset (medium, slow...)");
    command->add_option("--pix-fmt", options.pixFmt, "Movie output: an FFmpeg pixel format (yuv420p...)");
    command
        ->add_option("--codec-opt", options.codecOptions,
                     "Movie output: KEY=VALUE, an option of the encoder (repeatable)")
        ->check([](const std::string& value) -> std::string {
            const size_t equals = value.find('=');
            return equals == std::string::npos || equals == 0 ? "expected KEY=VALUE, got '" + value + "'" : "";
        });
    command
        ->add_option_function<std::string>(
            "--fps",
            [&options](const std::string& value) {
                AVRational rate{0, 1};
                // The same words ffmpeg takes: 25, 29.97, 30000/1001, ntsc, pal, film.
                if (av_parse_video_rate(&rate, value.c_str()) < 0 || rate.num <= 0 || rate.den <= 0)
                    throw CLI::ValidationError("--fps", "expected a frame rate such as 25, 29.97 or 30000/1001, got '" +
                                                            value + "'");
                options.fps = rate;
            },
            "Frame rate of a movie made from images (default 25)");
}

void refuseMovieOptions(const CLI::App* command, const std::string& output) {
    if (MovieFile::isMovie(output)) return;
    for (const char* name : {"--codec", "--crf", "--preset", "--pix-fmt", "--codec-opt", "--fps"}) {
        if (command->get_option(name)->count() > 0) {
            throw JobError(JobError::kUsage, std::string(name) + " is for a movie OUTPUT, and '" + output +
                                                 "' is an image; leave it out, or name a movie (out.mov, out.mp4...)");
        }
    }
}

}  // namespace fxhost
