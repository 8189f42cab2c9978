// fxhost: the stand-in host on the command line.
//   fxhost info [--plugin BUNDLE]
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <iostream>

#include "Bundle.h"
#include "EffectHost.h"
#include "EffectInfo.h"

int main(int argc, char** argv) {
  CLI::App app{"fxhost: loads an effect bundle and drives it as a compositing host would"};
  app.require_subcommand(1);
  std::string plugin = fxhost::Bundle::besideExecutable();

  CLI::App* info = app.add_subcommand("info", "Print the effect's about text, version, flags and parameters");
  info->add_option("--plugin", plugin, "The effect bundle (default: the one built beside fxhost)");

  CLI11_PARSE(app, argc, argv);

  try {
    if (info->parsed()) {
      fxhost::EffectHost host(plugin);
      const std::string report = fxhost::describeEffect(host);
      std::fflush(stdout);
      std::cout << report << std::flush;
      return 0;
    }
  } catch (const std::exception& e) {
    std::fflush(stdout);
    std::cerr << "fxhost: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
