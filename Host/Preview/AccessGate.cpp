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
