// The preview's HTTP server: the page, and the API the page and scripts use (all GET):
//   /api/effect   the effect's parameters, the input's size and frames, as JSON
//   /api/frame    one frame through the effect (set, frame, scale, format, view, client)
//   /api/command  the `fxhost render` command line for the same query, as text
// Every request passes the AccessGate first; bodies are refused. Bad values are answered 400 in
// the command line's words, unknown paths 404, a request replaced by a newer one for its view 204.
#pragma once

#include <httplib.h>

#include <atomic>
#include <memory>
#include <string>

#include "AccessGate.h"
#include "PreviewRenderer.h"
#include "RenderCommand.h"

namespace fxhost {

class PreviewServer {
public:
    // Binds ADDRESS:PORT (0: a free port); throws JobError (exit 2) when it cannot.
    PreviewServer(PreviewRenderer& renderer, const RenderCommand& command, const std::string& address,
                  int port);

    int port() const { return mPort; }
    // The page's address with the token, to open in a browser.
    std::string url() const;

    // Serves until stop(); false when listening failed.
    bool run();
    // Stops serving from any thread, also before run() has begun (run() then returns at once).
    // Returns without waiting; run() returns once the requests being answered are finished.
    void stop();

private:
    void route();
    httplib::Server::HandlerResponse gate(const httplib::Request& request, httplib::Response& response);
    void page(const std::string& name, const httplib::Request& request, httplib::Response& response);
    void effect(httplib::Response& response);
    void frame(const httplib::Request& request, httplib::Response& response);
    void command(const httplib::Request& request, httplib::Response& response);
    // The look of what a frame request would show: the same `set`s, as a JSON file to download.
    void look(const httplib::Request& request, httplib::Response& response);
    // The query as FrameRequest::parse() takes it; throws std::invalid_argument on a name the path
    // does not know, so that a misspelt one is not quietly ignored.
    FrameRequest parse(const httplib::Request& request, bool frameOptions) const;

    PreviewRenderer& mRenderer;
    const RenderCommand& mCommand;
    std::string mAddress;
    httplib::Server mServer;
    int mPort = 0;
    std::unique_ptr<AccessGate> mGate;
    std::atomic<bool> mStopping{false};
    std::atomic<bool> mRunning{false};
};

}  // namespace fxhost
