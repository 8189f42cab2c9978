#include "PreviewServer.h"

#include <sys/socket.h>

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include <nlohmann/json.hpp>

#include "ImageEncoder.h"
#include "JobError.h"
#include "Look.h"
#include "PageFiles.h"

namespace fxhost {

namespace {

using HandlerResponse = httplib::Server::HandlerResponse;

// Nothing but this server's own files and requests: no inline script, no other origin, no frames.
const char kContentSecurityPolicy[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

void answer(httplib::Response& response, int status, const std::string& text) {
    response.status = status;
    response.set_content(text + "\n", "text/plain; charset=utf-8");
}

std::string urlHost(const std::string& address) {
    return address.find(':') != std::string::npos ? "[" + address + "]" : address;
}

}  // namespace

PreviewServer::PreviewServer(PreviewRenderer& renderer, const RenderCommand& command,
                             const std::string& address, int port)
    : mRenderer(renderer), mCommand(command), mAddress(address) {
    // Idle keep-alive connections hold a worker each: enough workers for a few tabs and scripts,
    // and idle ones let go soon.
    mServer.new_task_queue = [] { return new httplib::ThreadPool(12); };
    mServer.set_keep_alive_timeout(2);
    mServer.set_read_timeout(5, 0);
    mServer.set_write_timeout(5, 0);
    mServer.set_payload_max_length(0);
    // httplib's default is SO_REUSEPORT, which would let a second server share the port. Reusing
    // the address only lets a new server bind while closed connections of an old one linger.
    mServer.set_socket_options([](socket_t socket) {
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    mServer.set_default_headers({{"Content-Security-Policy", kContentSecurityPolicy},
                                 {"X-Content-Type-Options", "nosniff"},
                                 {"X-Frame-Options", "DENY"},
                                 {"Cache-Control", "no-store"},
                                 {"Referrer-Policy", "no-referrer"},
                                 {"Cross-Origin-Resource-Policy", "same-origin"},
                                 {"Cross-Origin-Opener-Policy", "same-origin"}});
    mPort = port == 0 ? mServer.bind_to_any_port(address) : (mServer.bind_to_port(address, port) ? port : -1);
    if (mPort < 0) {
        throw JobError(JobError::kUsage, "cannot listen on " + urlHost(address) + ":" + std::to_string(port) +
                                             " (in use, or not an address of this machine)");
    }
    mGate = std::make_unique<AccessGate>(address, mPort);
    route();
}

std::string PreviewServer::url() const {
    const bool wildcard = mAddress == "0.0.0.0" || mAddress == "::";
    return "http://" + (wildcard ? std::string("127.0.0.1") : urlHost(mAddress)) + ":" +
           std::to_string(mPort) + "/?token=" + mGate->token();
}

bool PreviewServer::run() {
    mRunning = true;
    if (mStopping) return true;
    const bool listened = mServer.listen_after_bind();
    mRunning = false;
    return listened || mStopping;
}

void PreviewServer::stop() {
    mStopping = true;
    // httplib's stop() does nothing until listening has begun: wait for that if run() is on its way.
    while (mRunning && !mServer.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    mServer.stop();
}

HandlerResponse PreviewServer::gate(const httplib::Request& request, httplib::Response& response) {
    std::string why;
    const int status = mGate->admit(request, why);
    if (status == 0) return HandlerResponse::Unhandled;
    answer(response, status, why);
    return HandlerResponse::Handled;
}

void PreviewServer::route() {
    mServer.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        return gate(request, response);
    });
    mServer.Get("/", [this](const httplib::Request& request, httplib::Response& response) {
        page("index.html", request, response);
    });
    mServer.Get(R"(/([a-z]+\.(js|css|svg)))",
                [this](const httplib::Request& request, httplib::Response& response) {
                    page(request.matches[1], request, response);
                });
    mServer.Get("/api/effect",
                [this](const httplib::Request&, httplib::Response& response) { effect(response); });
    mServer.Get("/api/frame", [this](const httplib::Request& request, httplib::Response& response) {
        frame(request, response);
    });
    mServer.Get("/api/command", [this](const httplib::Request& request, httplib::Response& response) {
        command(request, response);
    });
    mServer.Get("/api/look", [this](const httplib::Request& request, httplib::Response& response) {
        look(request, response);
    });
    mServer.set_error_handler([](const httplib::Request& request, httplib::Response& response) {
        if (response.status == 404 && response.body.empty())
            answer(response, 404, "no such page: " + request.path);
    });
}

void PreviewServer::page(const std::string& name, const httplib::Request& request,
                         httplib::Response& response) {
    const PageFile* file = findPageFile(name);
    if (!file) {
        answer(response, 404, "no such page: " + request.path);
        return;
    }
    if (request.has_param("token")) {
        // The token moves into a cookie the page's scripts cannot read, and out of the address bar.
        response.set_header("Set-Cookie", mGate->cookie());
        response.set_redirect("/", 303);
        return;
    }
    response.set_content(reinterpret_cast<const char*>(file->data), file->size, file->type);
}

void PreviewServer::effect(httplib::Response& response) {
    const PreviewSummary& summary = mRenderer.summary();
    nlohmann::json parameters = nlohmann::json::array();
    for (const PreviewSummary::Parameter& p : summary.parameters) {
        parameters.push_back({{"name", p.name},
                              {"min", p.min},
                              {"max", p.max},
                              {"default", p.defaultValue},
                              {"value", p.value},
                              {"keys", p.keyed ? nlohmann::json(summary.start.at(p.index).text()) : nlohmann::json()}});
    }
    nlohmann::json json = {{"effect", summary.effect},
                           {"parameters", parameters},
                           {"width", summary.width},
                           {"height", summary.height},
                           {"frames", nullptr},
                           {"command", {{"head", mCommand.head()}, {"tail", mCommand.tail()}}}};
    if (summary.kind != FrameSource::Kind::Image)
        json["frames"] = {summary.frames.first(), summary.frames.last()};
    response.set_content(json.dump() + "\n", "application/json");
}

FrameRequest PreviewServer::parse(const httplib::Request& request, bool frameOptions) const {
    for (const auto& param : request.params) {
        const std::string& name = param.first;
        const bool known =
            name == "set" || name == "frame" || name == "token" ||
            (frameOptions && (name == "scale" || name == "format" || name == "view" || name == "client"));
        if (!known) throw std::invalid_argument("unknown query parameter \"" + name + "\"");
    }
    const std::multimap<std::string, std::string> query(request.params.begin(), request.params.end());
    return FrameRequest::parse(query, mRenderer.host(), mRenderer.summary().start,
                               mRenderer.summary().frames);
}

void PreviewServer::frame(const httplib::Request& request, httplib::Response& response) {
    FrameRequest frameRequest;
    try {
        frameRequest = parse(request, true);
    } catch (const std::invalid_argument& e) {
        answer(response, 400, e.what());
        return;
    }
    PreviewRenderer::Result result = mRenderer.render(frameRequest);
    using Status = PreviewRenderer::Result::Status;
    if (result.status == Status::Replaced) {
        response.status = 204;
        return;
    }
    if (result.status == Status::Closed) {
        answer(response, 503, "the preview is stopping");
        return;
    }
    if (result.status == Status::Failed) {
        answer(response, result.errorStatus == JobError::kUsage ? 400 : 500, result.error);
        return;
    }
    try {
        const bool png = frameRequest.format == FrameRequest::Format::Png;
        const std::string file = png ? ImageEncoder::png(result.pixels) : ImageEncoder::jpeg(result.pixels);
        char milliseconds[32];
        std::snprintf(milliseconds, sizeof milliseconds, "%.1f", result.renderMs);
        response.set_header("X-Render-Ms", milliseconds);
        response.set_header("X-Frame", std::to_string(frameRequest.frame));
        response.set_content(file, png ? "image/png" : "image/jpeg");
    } catch (const std::exception& e) {
        answer(response, 500, e.what());
    }
}

void PreviewServer::look(const httplib::Request& request, httplib::Response& response) {
    try {
        const FrameRequest values = parse(request, false);
        const PreviewSummary& summary = mRenderer.summary();
        Look look;
        look.effect = summary.effect;
        for (const PreviewSummary::Parameter& parameter : summary.parameters) {
            look.parameters.push_back({parameter.name, values.values.at(parameter.index)});
        }
        response.set_header("Content-Disposition", "attachment; filename=\"look.json\"");
        response.set_content(look.json(), "application/json");
    } catch (const std::invalid_argument& e) {
        answer(response, 400, e.what());
    }
}

void PreviewServer::command(const httplib::Request& request, httplib::Response& response) {
    try {
        response.set_content(mCommand.line(parse(request, false)) + "\n", "text/plain; charset=utf-8");
    } catch (const std::invalid_argument& e) {
        answer(response, 400, e.what());
    }
}

}  // namespace fxhost
