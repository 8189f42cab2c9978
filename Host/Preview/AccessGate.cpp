#include "AccessGate.h"

#include <sys/random.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace fxhost {

namespace {

constexpr size_t kTokenBytes = 32;

std::string randomToken() {
    uint8_t bytes[kTokenBytes];
    size_t got = 0;
    while (got < sizeof bytes) {
        const ssize_t n = getrandom(bytes + got, sizeof bytes - got, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0)
            throw std::runtime_error(std::string("no random bytes for the token: ") + std::strerror(errno));
        got += static_cast<size_t>(n);
    }
    static const char kHex[] = "0123456789abcdef";
    std::string token;
    for (uint8_t byte : bytes) {
        token += kHex[byte >> 4];
        token += kHex[byte & 15];
    }
    return token;
}

}  // namespace

AccessGate::AccessGate(const std::string& address, int port)
    : mPort(port), mToken(randomToken()), mCookieName("fxhost-preview-" + std::to_string(port)) {
    if (address != "0.0.0.0" && address != "::") {
        mAddressHost = address.find(':') != std::string::npos ? "[" + address + "]" : address;
    }
}

std::string AccessGate::cookie() const {
    return mCookieName + "=" + mToken + "; Path=/; HttpOnly; SameSite=Strict";
}

int AccessGate::admit(const httplib::Request& request, std::string& why) const {
    const std::string port = std::to_string(mPort);
    // A page on another site may reach a loopback server through a name it controls (DNS
    // rebinding); the Host header it sends is then that name.
    if (!hostAllowed(request.get_header_value("Host"))) {
        why = "forbidden: the Host header must be 127.0.0.1:" + port + ", localhost:" + port + " or [::1]:" + port;
        return 403;
    }
    // The server takes no bodies; refused before any is read.
    if (request.has_header("Transfer-Encoding")) {
        why = "request bodies are refused (Transfer-Encoding)";
        return 411;
    }
    if (request.has_header("Content-Encoding")) {
        why = "request bodies are refused (Content-Encoding)";
        return 415;
    }
    if (request.has_header("Content-Length") && request.get_header_value("Content-Length") != "0") {
        why = "request bodies are refused (Content-Length)";
        return 413;
    }
    if (!originAllowed(request.get_header_value("Origin")) ||
        request.get_header_value("Sec-Fetch-Site") == "cross-site") {
        why = "forbidden: requests from other origins are refused";
        return 403;
    }
    // httplib answers HEAD through the GET routes: refused here, as every method but GET is.
    if (request.method != "GET") {
        why = "only GET is served";
        return 405;
    }
    const bool inQuery = request.has_param("token");
    const std::string token =
        inQuery ? request.get_param_value("token") : cookieToken(request.get_header_value("Cookie"));
    if (token.empty() && !inQuery) {
        why = "a token is needed: open the address fxhost preview printed";
        return 401;
    }
    if (!tokenMatches(token)) {
        why = "forbidden: wrong token";
        return 403;
    }
    return 0;
}

bool AccessGate::hostAllowed(const std::string& host) const {
    const std::string port = ":" + std::to_string(mPort);
    return host == "127.0.0.1" + port || host == "localhost" + port || host == "[::1]" + port ||
           (!mAddressHost.empty() && host == mAddressHost + port);
}

bool AccessGate::originAllowed(const std::string& origin) const {
    if (origin.empty()) return true;
    const std::string prefix = "http://";
    return origin.compare(0, prefix.size(), prefix) == 0 && hostAllowed(origin.substr(prefix.size()));
}

bool AccessGate::tokenMatches(const std::string& token) const {
    // Every byte of the expected token is looked at whatever the guess, so the time taken says
    // nothing about how much of it was right.
    uint8_t difference = token.size() == mToken.size() ? 0 : 1;
    for (size_t i = 0; i < mToken.size(); ++i) {
        const uint8_t guess = i < token.size() ? static_cast<uint8_t>(token[i]) : 0;
        difference |= guess ^ static_cast<uint8_t>(mToken[i]);
    }
    return difference == 0;
}

std::string AccessGate::cookieToken(const std::string& cookieHeader) const {
    size_t at = 0;
    while (at < cookieHeader.size()) {
        size_t end = cookieHeader.find(';', at);
        if (end == std::string::npos) end = cookieHeader.size();
        std::string pair = cookieHeader.substr(at, end - at);
        pair.erase(0, pair.find_first_not_of(' '));
        const size_t equals = pair.find('=');
        if (equals != std::string::npos && pair.compare(0, equals, mCookieName) == 0 &&
            equals == mCookieName.size()) {
            return pair.substr(equals + 1);
        }
        at = end + 1;
    }
    return "";
}

}  // namespace fxhost
