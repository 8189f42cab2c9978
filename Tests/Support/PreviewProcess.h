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
            std::vector<char*> argv;
            static std::string program = OSTRIVANE_FXHOST_PATH;
            argv.push_back(const_cast<char*>(program.c_str()));
            static std::string command = "preview";
            argv.push_back(const_cast<char*>(command.c_str()));
            for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(out[1]);
        mOut = out[0];
        char c;
        while (read(mOut, &c, 1) == 1 && c != '\n') mUrl += c;
        const size_t colon = mUrl.find(':', 7), slash = mUrl.find('/', 7), token = mUrl.find("token=");
        if (colon != std::string::npos && slash != std::string::npos && token != std::string::npos) {
            mPort = std::atoi(mUrl.substr(colon + 1, slash - colon - 1).c_str());
            mToken = mUrl.substr(token + 6);
        }
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
        ssize_t n;
        while ((n = read(mOut, buffer, sizeof buffer)) > 0) rest.append(buffer, static_cast<size_t>(n));
        return rest;
    }

    // Sends the signal and waits up to `seconds` for the exit; its status, or -1 (then it is killed).
    int stop(int signal = SIGINT, double seconds = 10) {
        if (mPid <= 0) return -1;
        kill(mPid, signal);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        int raw = 0;
        while (waitpid(mPid, &raw, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > deadline) {
                kill(mPid, SIGKILL);
                waitpid(mPid, &raw, 0);
                mStatus = -1;
                return mStatus;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        mStatus = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
        return mStatus;
    }

private:
    pid_t mPid = -1;
    int mOut = -1;
    int mStatus = -1;
    int mPort = 0;
    std::string mUrl, mToken;
};

// True when a server can listen on 127.0.0.1:port again. Closed connections may linger in
// TIME_WAIT; servers (fxhost's too) bind with SO_REUSEADDR, which only a listener still there stops.
inline bool portIsFree(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    const int yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool free =
        bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 && listen(fd, 1) == 0;
    close(fd);
    return free;
}

// Sends `request` as it is to 127.0.0.1:port and returns the answer's status line.
inline std::string rawStatusLine(int port, const std::string& request) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string answer;
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        write(fd, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
        char c;
        while (read(fd, &c, 1) == 1 && c != '\r') answer += c;
    }
    close(fd);
    return answer;
}
