#include "Process.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Interruption.h"

namespace fxhost {

ProcessResult runProcess(const std::vector<std::string>& argv) {
    ProcessResult result;
    int outPipe[2], errPipe[2];
    if (argv.empty() || pipe(outPipe) != 0) return result;
    if (pipe(errPipe) != 0) {
        close(outPipe[0]);
        close(outPipe[1]);
        return result;
    }
    std::vector<char*> args;
    for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);

    const pid_t child = fork();
    if (child == 0) {
        Interruption::unblockInChild();
        dup2(outPipe[1], STDOUT_FILENO);
        dup2(errPipe[1], STDERR_FILENO);
        for (int fd : {outPipe[0], outPipe[1], errPipe[0], errPipe[1]}) close(fd);
        execvp(args[0], args.data());
        const std::string why = "cannot run " + argv[0] + ": " + std::strerror(errno) + "\n";
        (void)!write(STDERR_FILENO, why.data(), why.size());
        _exit(127);
    }
    close(outPipe[1]);
    close(errPipe[1]);
    if (child < 0) {
        close(outPipe[0]);
        close(errPipe[0]);
        return result;
    }
    // Both pipes are drained together, so a child filling one while we wait on the other can't stall.
    pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
    std::string* sinks[2] = {&result.out, &result.err};
    int open = 2;
    while (open > 0) {
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
            char buffer[4096];
            const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                sinks[i]->append(buffer, static_cast<size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    for (const pollfd& fd : fds) {
        if (fd.fd >= 0) close(fd.fd);
    }
    int raw = 0;
    while (waitpid(child, &raw, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : 127;
    return result;
}

}  // namespace fxhost
