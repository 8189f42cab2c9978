// `fxhost validate`: runs the validation tests against a bundle, each in a child process of its
// own, and reports. Exit status: 0 every test passed, 5 a test failed, 2 bad arguments (an
// --only or --skip pattern that matches no test among them), 1 the bundle cannot be loaded or a
// report file cannot be written.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace fxhost {

// Registers the subcommand and its options on `app`; `plugin` is the bundle option's variable,
// shared with the other commands.
CLI::App* addValidateCommand(CLI::App& app, std::string& plugin);

// Runs the command as parsed; gives the exit status. Only standard output carries the report.
int runValidate(const std::string& plugin);

}  // namespace fxhost
