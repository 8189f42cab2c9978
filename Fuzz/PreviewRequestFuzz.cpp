// The preview's requests as they come off the wire: a request line and header lines, the target
// split and decoded as httplib decodes it, through the gate and, when it lets one in, the frame
// request parser. "@TOKEN@" in the input stands for the server's token, so that requests get past
// the gate. Only std::invalid_argument may leave the parser; what the gate lets in is a GET naming
// this server with its token, and a frame request that parses asks for a frame of the input at a
// scale in (0, 1] with every value in its parameter's range.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>

#include <httplib.h>

#include "AccessGate.h"
#include "EffectHost.h"
#include "FuzzHost.h"
#include "FrameRequest.h"

using fxhost::EffectHost;

namespace {

constexpr int kPort = 8421;

[[noreturn]] void finding(const std::string& what) { fuzzhost::finding("preview request", what); }

EffectHost& host() { return fuzzhost::effect("preview request"); }

std::string replaced(std::string text, const std::string& token) {
    for (size_t at = text.find("@TOKEN@"); at != std::string::npos; at = text.find("@TOKEN@", at + token.size())) {
        text.replace(at, 7, token);
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const fxhost::AccessGate gate("127.0.0.1", kPort);
    static const fxhost::ParameterSettings::Curves start = [] {
        fxhost::ParameterSettings settings;
        settings.add("Saturation=0.5@1,1.5@8");
        return settings.resolve(host());
    }();
    static const fxhost::FrameList frames({1, 2, 3, 5, 8});

    const std::string text = replaced(std::string(reinterpret_cast<const char*>(data), size), gate.token());
    httplib::Request request;
    size_t lineEnd = text.find('\n');
    const std::string first = text.substr(0, lineEnd);
    const size_t space = first.find(' ');
    request.method = first.substr(0, space);
    request.target = space == std::string::npos ? "/" : first.substr(space + 1);
    const size_t question = request.target.find('?');
    request.path = httplib::detail::decode_url(request.target.substr(0, question), false);
    if (question != std::string::npos) httplib::detail::parse_query_text(request.target.substr(question + 1), request.params);
    while (lineEnd != std::string::npos) {
        const size_t start = lineEnd + 1;
        lineEnd = text.find('\n', start);
        const std::string line = text.substr(start, lineEnd == std::string::npos ? lineEnd : lineEnd - start);
        const size_t colon = line.find(':');
        if (colon == std::string::npos) continue;
        const size_t value = line.find_first_not_of(' ', colon + 1);
        request.headers.emplace(line.substr(0, colon), value == std::string::npos ? "" : line.substr(value));
    }

    std::string why;
    const int status = gate.admit(request, why);
    if (status != 0) {
        if (why.empty() || status < 400 || status > 415) finding("status " + std::to_string(status) + " without a reason");
        return 0;
    }
    const std::string port = ":" + std::to_string(kPort);
    const std::string named = request.get_header_value("Host");
    if (request.method != "GET") finding("a " + request.method + " got in");
    if (named != "127.0.0.1" + port && named != "localhost" + port && named != "[::1]" + port)
        finding("Host \"" + named + "\" got in");
    const bool tokenInQuery = request.has_param("token") && request.get_param_value("token") == gate.token();
    if (!tokenInQuery && gate.cookieToken(request.get_header_value("Cookie")) != gate.token())
        finding("a request without the token got in");

    const std::multimap<std::string, std::string> query(request.params.begin(), request.params.end());
    fxhost::FrameRequest frame;
    try {
        frame = fxhost::FrameRequest::parse(query, host(), start, frames);
    } catch (const std::invalid_argument&) {
        return 0;
    }
    const std::vector<int>& all = frames.frames();
    if (std::find(all.begin(), all.end(), frame.frame) == all.end()) finding("frame " + std::to_string(frame.frame) + " is not the input's");
    if (!(frame.scale > 0 && frame.scale <= 1)) finding("scale " + std::to_string(frame.scale));
    if (frame.view.size() > 64) finding("a view name of " + std::to_string(frame.view.size()) + " characters");
    for (const auto& [index, curve] : frame.values) {
        const PF_FloatSliderDef& slider = host().params().at(index).u.fs_d;
        const double value = curve.at(frame.frame);
        if (!std::isfinite(value) || value < slider.valid_min || value > slider.valid_max)
            finding("a value out of range was taken: " + curve.text());
    }
    return 0;
}
