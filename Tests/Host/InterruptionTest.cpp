#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "Interruption.h"

using fxhost::Interruption;

// A writer that keeps creating its registered temporary file while a SIGINT is handled: the file
// removed by the interruption never comes back, however long the interruption takes to end the
// process (its reporter sleeps, which leaves any unguarded writer ample time).
TEST(Interruption, NoTemporaryFileIsCreatedAfterTheCleanUp) {
    char dir[] = "/tmp/fxhost-interruption-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string path = std::string(dir) + "/.out.png.fxhost-partial";

    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDERR_FILENO);
        Interruption::install();
        Interruption::addTemporary(path);
        Interruption::setReporter([](int) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            return std::string();
        });
        kill(getpid(), SIGINT);
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (std::chrono::steady_clock::now() < end) {
            const Interruption::FileGuard creating;
            close(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644));
        }
        _exit(0);  // the signal never ended the process
    }
    int raw = 0;
    ASSERT_EQ(waitpid(pid, &raw, 0), pid);
    ASSERT_TRUE(WIFEXITED(raw));
    EXPECT_EQ(WEXITSTATUS(raw), 130);
    EXPECT_NE(access(path.c_str(), F_OK), 0);
    unlink(path.c_str());
    rmdir(dir);
}
