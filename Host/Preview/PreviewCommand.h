// `fxhost preview`: loads the effect once, opens the input, and serves the preview page on
// ADDRESS:PORT until SIGINT or SIGTERM, which end it cleanly (exit 0, the port free). Standard
// output gets exactly one line, the page's address with its token. Set-up failures throw
// JobError with the program's exit statuses.
#pragma once

#include <string>

#include "ParameterSettings.h"
#include "Renderer.h"

namespace fxhost {

struct PreviewOptions {
    std::string plugin;
    ParameterSettings settings;
    std::string input;
    std::string address = "127.0.0.1";
    int port = 0;  // 0: a free port
    Renderer renderer = Renderer::Auto;
};

int runPreview(const PreviewOptions& options);

}  // namespace fxhost
