#include "PreviewCommand.h"

#include <cstdio>
#include <iostream>

#include "Console.h"
#include "Interruption.h"
#include "JobError.h"
#include "PreviewRenderer.h"
#include "PreviewServer.h"
#include "RenderCommand.h"

namespace fxhost {

namespace {

bool isLoopback(const std::string& address) {
    return address == "127.0.0.1" || address == "::1" || address == "localhost" ||
           address.compare(0, 4, "127.") == 0;
}

}  // namespace

int runPreview(const PreviewOptions& options) {
    if (options.port < 0 || options.port > 65535) {
        throw JobError(JobError::kUsage, "--port must be from 0 to 65535");
    }
    if (!isLoopback(options.address)) {
        Console::warnOnce(
            "--bind " + options.address +
            ": the preview can be reached from other machines; the token is all that guards it, "
            "and it travels unencrypted");
    }
    PreviewRenderer renderer(options.plugin, options.settings, options.input, options.renderer);
    const RenderCommand command(options.plugin, options.input, renderer.summary());
    PreviewServer server(renderer, command, options.address, options.port);
    // A signal stops the server rather than the process: waiting renders are answered, the frame
    // being rendered is finished, and the socket is closed before the process ends.
    Interruption::setStopper([&](int) {
        renderer.close();
        server.stop();
    });
    std::cout << server.url() << std::endl;
    Console::note("Preview of %s on port %d; Ctrl-C stops it\n", options.input.c_str(), server.port());
    const bool served = server.run();
    Interruption::setStopper(nullptr);
    renderer.close();
    if (!served) throw JobError(1, "the preview server stopped: cannot accept connections");
    return 0;
}

}  // namespace fxhost
