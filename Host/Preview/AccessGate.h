// Who may talk to the preview server. A request must name the server by a loopback Host
// (127.0.0.1:PORT, localhost:PORT or [::1]:PORT) or the address it listens on, against DNS
// rebinding; come from no other
// origin; and carry the token, in the query or in the cookie the page gets in exchange for it.
// The token is 256 bits from the system's generator, compared in constant time.
#pragma once

#include <string>

#include <httplib.h>

namespace fxhost {

class AccessGate {
public:
    // `address` is the one the server listens on; a wildcard (0.0.0.0, ::) adds no name.
    // Throws std::runtime_error when the system gives no random bytes.
    AccessGate(const std::string& address, int port);

    const std::string& token() const { return mToken; }
    // fxhost-preview-PORT: one per server, so that servers on other ports keep their own.
    const std::string& cookieName() const { return mCookieName; }
    // The Set-Cookie value that hands the token to the page.
    std::string cookie() const;

    // The whole check of a request, before its body is read and before it is routed: 0 when it
    // may go on, otherwise the HTTP status to answer with and, in `why`, the reason in words.
    int admit(const httplib::Request& request, std::string& why) const;

    bool hostAllowed(const std::string& host) const;
    // An absent Origin (a plain navigation, a script) or this server's own.
    bool originAllowed(const std::string& origin) const;
    // The token from a query parameter, or the cookie from a Cookie header.
    bool tokenMatches(const std::string& token) const;
    // The value of this server's cookie in a Cookie header, or "" when it has none.
    std::string cookieToken(const std::string& cookieHeader) const;

private:
    int mPort;
    std::string mAddressHost;  // the listening address as a Host header names it, or ""
    std::string mToken;
    std::string mCookieName;
};

}  // namespace fxhost
