// A running `fxhost preview` for the preview's tests: started with --port 0, its one line of
// standard output read for the port and token; stopped with a signal and its exit status kept.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

class PreviewProcess {
public:
    // `environment` entries are NAME=VALUE, added to this process's own.
    PreviewProcess(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment = {}) {
        int out[2];
        if (pipe(out) != 0) return;
        mPid = fork();
        if (mPid == 0) {
            dup2(out[1], STDOUT_FILENO);
            close(out[0]);
            close(out[1]);
            for (const std::string& variable : environment) putenv(const_cast<char*>(variable.c_str()));
            std::vector<char*> argv{const_cast<char*>(OSTRIVANE_FXHOST_PATH), const_cast<char*>("preview")};
            for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(out[1]);
        mOut = out[0];
        for (char c; read(mOut, &c, 1) == 1 && c != '\n';) mUrl += c;
        const size_t token = mUrl.find("token=");
        if (std::sscanf(mUrl.c_str(), "http://127.0.0.1:%d/", &mPort) == 1 && token != std::string::npos)
            mToken = mUrl.substr(token + 6);
    }

    ~PreviewProcess() {
        if (mPid > 0 && mStatus < 0) stop(SIGKILL);
        if (mOut >= 0) close(mOut);
    }

    const std::string& url() const { return mUrl; }
    int port() const { return mPort; }
    const std::string& token() const { return mToken; }
    // What it wrote to standard output after the address line, once it has ended.
    std::string restOfOutput() {
        std::string rest;
        char buffer[256];
        for (ssize_t n; (n = read(mOut, buffer, sizeof buffer)) > 0;) rest.append(buffer, static_cast<size_t>(n));
        return rest;
    }

    // Sends the signal and waits up to ten seconds for the exit; its status, or -1 (then it is killed).
    int stop(int signal = SIGINT) {
        if (mPid <= 0) return -1;
        kill(mPid, signal);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        int raw = 0;
        while (waitpid(mPid, &raw, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > deadline) {
                kill(mPid, SIGKILL);
                waitpid(mPid, &raw, 0);
                return mStatus = -1;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return mStatus = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
    }

private:
    pid_t mPid = -1;
    int mOut = -1;
    int mStatus = -1;
    int mPort = 0;
    std::string mUrl, mToken;
};

inline sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// True when a server can listen on 127.0.0.1:port again. Closed connections may linger in
// TIME_WAIT; servers (fxhost's too) bind with SO_REUSEADDR, which only a listener still there stops.
inline bool portIsFree(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0), yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const sockaddr_in address = loopback(port);
    const bool free = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 && listen(fd, 1) == 0;
    close(fd);
    return free;
}

// Sends `request` as it is to 127.0.0.1:port and returns the answer's status line.
inline std::string rawStatusLine(int port, const std::string& request) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = loopback(port);
    std::string answer;
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        write(fd, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
        for (char c; read(fd, &c, 1) == 1 && c != '\r';) answer += c;
    }
    close(fd);
    return answer;
}
