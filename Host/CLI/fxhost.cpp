// fxhost: the stand-in host on the command line.
//   fxhost info   [--plugin BUNDLE]
//   fxhost render [--plugin BUNDLE] [--set NAME=VALUE]... [--frames FIRST-LAST] INPUT OUTPUT
//   fxhost sheet  [--plugin BUNDLE] [--set NAME=VALUE]... --vary NAME=FROM:TO:COUNT INPUT OUTPUT
// Exit status: 0 done, 1 bundle or host trouble, 2 bad arguments, 3 image files,
// 4 the effect returned an error, 5 the effect broke a host rule.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <iostream>

#include "Bundle.h"
#include "EffectHost.h"
#include "EffectInfo.h"
#include "FramePattern.h"
#include "RenderJob.h"
#include "ValidateCommand.h"

int main(int argc, char** argv) {
    CLI::App app{"fxhost: loads an effect bundle and drives it as a compositing host would"};
    app.require_subcommand(1);
    std::string plugin = fxhost::Bundle::besideExecutable();
    std::vector<std::string> sets;
    std::string frames, input, output, vary;

    CLI::App* info =
        app.add_subcommand("info", "Print the effect's about text, version, flags and parameters");
    CLI::App* render =
        app.add_subcommand("render", "Render an image, or a sequence of images, through the effect");
    CLI::App* sheet =
        app.add_subcommand("sheet", "Render the input with one parameter stepped, as one contact sheet");
    for (CLI::App* command : {info, render, sheet}) {
        command->add_option("--plugin", plugin, "The effect bundle (default: the one built beside fxhost)");
    }
    for (CLI::App* command : {render, sheet}) {
        command->add_option("--set", sets, "NAME=VALUE: a parameter by name (any case) or index");
        command->add_option("INPUT", input, "Input image; %04d or #### stands for the frame number")
            ->required();
        command->add_option("OUTPUT", output, "Output image, of the input's size, channels and depth")
            ->required();
    }
    render->add_option("--frames", frames, "FIRST-LAST: the frames of a sequence");
    sheet->add_option("--vary", vary, "NAME=FROM:TO:COUNT: the parameter to step and how")->required();

    CLI::App* validate = fxhost::addValidateCommand(app, plugin);
    CLI11_PARSE(app, argc, argv);

    try {
        if (validate->parsed()) return fxhost::runValidate(plugin);
        if (info->parsed()) {
            fxhost::EffectHost host(plugin);
            const std::string report = fxhost::describeEffect(host);
            std::fflush(stdout);
            std::cout << report << std::flush;
            return 0;
        }
        fxhost::ParameterSettings settings;
        for (const std::string& set : sets) settings.add(set);
        int first = 0, last = 0;
        if (!frames.empty()) {
            try {
                fxhost::FramePattern::parseRange(frames, first, last);
            } catch (const std::invalid_argument& e) {
                throw fxhost::JobError(fxhost::JobError::kUsage, e.what());
            }
        }
        fxhost::RenderJob job(plugin, settings);
        if (render->parsed()) {
            job.renderSequence(input, output, first, last);
        } else {
            job.renderSheet(input, output, vary);
        }
        return 0;
    } catch (const fxhost::JobError& e) {
        std::fflush(stdout);
        std::cerr << "fxhost: " << e.what() << "\n";
        return e.status();
    } catch (const std::exception& e) {
        std::fflush(stdout);
        std::cerr << "fxhost: " << e.what() << "\n";
        return 1;
    }
}
