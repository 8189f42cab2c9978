// fxhost: the stand-in host on the command line.
//   fxhost [-q|-v] info   [--plugin BUNDLE] [--renderer auto|gl|cpu]
//   fxhost [-q|-v] render [--plugin BUNDLE] [--renderer auto|gl|cpu] [--look FILE] [--set NAME=VALUE|NAME=V@F,...]... [--frames LIST]
//                         [--skip-existing | --no-clobber] [--progress FILE|-]
//                         [--codec NAME] [--crf N] [--preset NAME] [--pix-fmt NAME] [--codec-opt K=V]... [--fps RATE]
//                         INPUT OUTPUT    (images, sequences or movies)
//   fxhost [-q|-v] sheet  [--plugin BUNDLE] [--renderer auto|gl|cpu] [--look FILE] [--set ...]... --vary NAME=FROM:TO:COUNT
//                         [--frame N] [--tile-width W] [--png-compression 0-9] [--strict-depth] INPUT OUTPUT
//   fxhost [-q|-v] farm   submit|status|check ...
//   fxhost validate [--plugin BUNDLE] [options]
//   fxhost [-q|-v] preview [--plugin BUNDLE] [--renderer auto|gl|cpu] [--look FILE] [--set ...]... [--port N] [--bind ADDR] INPUT
// Exit status: 0 done, 1 bundle or host trouble, 2 bad arguments, 3 image files,
// 4 the effect returned an error, 5 the effect broke a host rule.
#include <CLI/CLI.hpp>

#include <malloc.h>

extern "C" {
#include <libavutil/log.h>
}

#include <cstdio>
#include <exception>
#include <iostream>

#include "Bundle.h"
#include "Console.h"
#include "EffectHost.h"
#include "EffectInfo.h"
#include "FarmCommand.h"
#include "FramePattern.h"
#include "Interruption.h"
#include "MovieOptions.h"
#include "Look.h"
#include "MovieFile.h"
#include "PreviewCommand.h"
#include "RenderJob.h"
#include "SequencePlan.h"
#include "ValidateCommand.h"

namespace {

constexpr int kUsage = fxhost::JobError::kUsage;

int usageError(const std::string& message) {
    std::cerr << "fxhost: " << message << "\n(fxhost --help lists the commands and options)\n";
    return kUsage;
}

}  // namespace

int main(int argc, char** argv) {
    fxhost::Interruption::install();
    CLI::App app{
        "fxhost: loads an effect bundle and drives it as a compositing host would.\n"
        "Standard output carries only what a command exists to print (info's table);\n"
        "progress, summaries and warnings go to standard error."};
    app.require_subcommand(1);
    app.fallthrough();
    app.set_version_flag("--version", "fxhost " + std::string(OSTRIVANE_VERSION));
    bool quiet = false, verbose = false;
    app.add_flag("-q,--quiet", quiet, "Print errors only");
    app.add_flag("-v,--verbose", verbose, "Print the effect's GL driver report and a line per frame too");
    std::string plugin = fxhost::Bundle::besideExecutable();
    std::vector<std::string> sets;
    std::string frames, input, output, vary, progress, look;
    bool skipExisting = false, noClobber = false;
    fxhost::OutputOptions outputOptions;
    int tileWidth = 0, sheetFrame = 0;

    CLI::App* info =
        app.add_subcommand("info", "Print the effect's about text, version, flags and parameters");
    CLI::App* render = app.add_subcommand(
        "render", "Render an image, a sequence of images or a movie through the effect, into any of them");
    CLI::App* sheet = app.add_subcommand(
        "sheet", "Render one image with one parameter stepped, tiled into one labelled sheet");
    for (CLI::App* command : {info, render, sheet}) {
        command->add_option("--plugin", plugin, "The effect bundle (default: the one built beside fxhost)");
    }
    std::string rendererWord = "auto";
    const auto addRendererOption = [&rendererWord](CLI::App* command) {
        command
            ->add_option("--renderer", rendererWord,
                         "auto, gl or cpu: the effect's GL pass or its own CPU renderer; auto takes the CPU "
                         "where GL would be a software rasteriser (default auto)")
            ->check(CLI::IsMember({"auto", "gl", "cpu"}));
    };
    for (CLI::App* command : {render, sheet}) {
        command->add_option("--set", sets,
                            "NAME=VALUE, or keys NAME=V@F,V@F,...: a parameter by name (any case) or index; "
                            "overrides the look's value of that parameter");
        command->add_option("--look", look,
                            "A look file: the effect's name and each parameter's value or keys");
        command
            ->add_option("--png-compression", outputOptions.write.pngCompression,
                         "zlib level of PNG output, 0 (fastest) to 9 (smallest); default 6, no row filter")
            ->check(CLI::Range(0, 9));
        command->add_flag("--strict-depth", outputOptions.strictDepth,
                          "Refuse (exit 3) inputs deeper than 8 bits or with values outside 0-1, rather than "
                          "warn that the effect renders them in 8 bits");
    }
    render
        ->add_option("INPUT", input,
                     "Input image or movie (mov, mp4, mkv, webm...); %04d, %d or #### stands for the frame number")
        ->required();
    render
        ->add_option("OUTPUT", output,
                     "Output image, of the input's size, channels, depth and header; a frame number as INPUT; "
                     "or a movie")
        ->required();
    render->add_option("--frames", frames,
                       "The frames of a sequence or movie (a movie's from 1): 1001-1100, 1-100x5, 1-10,20,30-40 "
                       "(default: those on disk, or all of the movie)");
    fxhost::addMovieOptions(render, outputOptions.movie);
    render->add_flag("--skip-existing", skipExisting, "Leave out frames whose output exists");
    render->add_flag("--no-clobber", noClobber, "Refuse to overwrite, naming the frames whose output exists")
        ->excludes(render->get_option("--skip-existing"));
    render->add_option("--progress", progress, "Append key=value progress blocks to FILE, or - for stdout");
    render->add_option("--threads", outputOptions.threads, "Frames encoded at once (default: one a core)")
        ->check(CLI::Range(1, 256));
    render->add_flag("--times", outputOptions.times,
                     "Print where a frame's time went (decode, convert, render, encode) and peak memory");
    sheet->add_option("INPUT", input, "Input image (one file: no movie, no frame number)")->required();
    sheet->add_option("OUTPUT", output, "The sheet: tiles of --tile-width in a grid, of the input's type")
        ->required();
    sheet->add_option("--vary", vary, "NAME=FROM:TO:COUNT: the parameter to step and how")->required();
    sheet
        ->add_option("--frame", sheetFrame,
                     "The frame whose keyed values the other parameters take (default 0)")
        ->check(CLI::NonNegativeNumber);
    sheet
        ->add_option("--tile-width", tileWidth,
                     "Width of a tile in pixels (default: such that the sheet is about 1920 wide, "
                     "never wider than the input)")
        ->check(CLI::Range(16, 16384));
    CLI::App* preview = app.add_subcommand(
        "preview", "Serve a page for tuning the effect by eye in a browser; prints its address");
    fxhost::PreviewOptions previewOptions;
    preview->add_option("--plugin", plugin, "The effect bundle (default: the one built beside fxhost)");
    preview->add_option("--set", sets,
                        "NAME=VALUE or keys NAME=V@F,...: what the page starts with; overrides the look's");
    preview->add_option("--look", look, "A look file: the values or keys the page starts with");
    preview->add_option("--port", previewOptions.port, "Port to listen on (default 0: a free one)")
        ->check(CLI::Range(0, 65535));
    preview->add_option("--bind", previewOptions.address, "Address to listen on (default 127.0.0.1)");
    preview->add_option("INPUT", previewOptions.input, "Image, image sequence (%04d, ####) or movie")
        ->required();
    for (CLI::App* command : {info, render, sheet, preview}) addRendererOption(command);
    fxhost::FarmCommand farm(app);
    CLI::App* validate = fxhost::addValidateCommand(app, plugin);

    // The first word that is no option must name a command; CLI11 would only say one is missing.
    // The options before a command are flags, so no word there is an option's value.
    for (int i = 1; i < argc; ++i) {
        if (argv[i][0] == '-') continue;
        const std::string word = argv[i];
        if (word != "info" && word != "render" && word != "sheet" && word != "farm" && word != "validate" &&
            word != "preview") {
            return usageError("unknown command \"" + word +
                              "\"; the commands are info, render, sheet, preview, farm and validate");
        }
        break;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        return usageError(e.what());
    }
    if (quiet && verbose) return usageError("--quiet and --verbose exclude each other");
    fxhost::Console::setLevel(quiet     ? fxhost::Console::Level::Quiet
                              : verbose ? fxhost::Console::Level::Verbose
                                        : fxhost::Console::Level::Normal);
    // libav's own log would repeat, in its words, what fxhost's errors say; -v lets its warnings through.
    av_log_set_level(verbose ? AV_LOG_WARNING : AV_LOG_QUIET);
    // SVT-AV1 prints its banner, settings and errors itself, not through libav's log, at a level read
    // from the environment when an encoder opens: its fatal errors only, unless -v (or the user's own
    // SVT_LOG); fxhost's own error says why a frame size or option was refused.
    setenv("SVT_LOG", verbose ? "3" : "0", 0);
    // Frame-sized blocks (a 1080p float texture the effect stages each frame, decode buffers) are
    // kept in the heap for the next frame rather than mapped and faulted in anew each time.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 512 << 20);

    try {
        if (info->parsed()) {
            fxhost::HostOptions options;
            options.bundleOutput = fxhost::Console::bundleOutput();
            options.renderer = fxhost::parseRenderer(rendererWord);
            fxhost::EffectHost host(plugin, options);
            const std::string report = fxhost::describeEffect(host, "fxhost " OSTRIVANE_VERSION);
            std::cout << report << std::flush;
            return 0;
        }
        if (farm.parsed()) return farm.run();
        if (validate->parsed()) return fxhost::runValidate(plugin);
        fxhost::ParameterSettings settings;
        if (!look.empty()) {
            try {
                settings.setLook(fxhost::Look::read(look));
            } catch (const std::invalid_argument& e) {
                throw fxhost::JobError(kUsage, e.what());
            }
        }
        for (const std::string& set : sets) settings.add(set);
        outputOptions.renderer = fxhost::parseRenderer(rendererWord);
        if (preview->parsed()) {
            previewOptions.plugin = plugin;
            previewOptions.renderer = outputOptions.renderer;
            previewOptions.settings = settings;
            return fxhost::runPreview(previewOptions);
        }
        if (render->parsed()) {
            // An empty value reads as no --frames at all; only the option's count tells them apart.
            if (render->get_option("--frames")->count() > 0 && frames.empty())
                throw fxhost::JobError(kUsage, "--frames: the list is empty");
            fxhost::refuseMovieOptions(render, output);
            const bool movieOut = fxhost::MovieFile::isMovie(output);
            fxhost::SequencePlan::requireWritable(output,
                                                  movieOut ? output : fxhost::FramePattern(output).name(0));
            using Existing = fxhost::SequencePlan::Existing;
            fxhost::SequencePlan plan(input, output, frames,
                                      skipExisting ? Existing::Skip
                                      : noClobber  ? Existing::Refuse
                                                   : Existing::Overwrite);
            // The settings are checked against the effect before any file is touched.
            fxhost::RenderJob job(plugin, settings, outputOptions);
            plan.removeLeftovers();
            fxhost::ProgressLog log(progress);
            job.renderSequence(input, output, plan.frames(), log, plan.takeReader());
        } else {
            fxhost::SequencePlan::requireWritable(output, output);
            fxhost::RenderJob job(plugin, settings, outputOptions);
            job.renderSheet(input, output, vary, tileWidth, sheetFrame);
        }
        return 0;
    } catch (const fxhost::JobError& e) {
        std::cerr << "fxhost: " << e.what() << "\n";
        return e.status();
    } catch (const std::exception& e) {
        std::cerr << "fxhost: " << e.what() << "\n";
        return 1;
    }
}
