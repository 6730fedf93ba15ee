// Copies of the test process, for what must not happen in it itself. POSIX only.
#pragma once

#include <csignal>
#include <cstdio>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace vk::testing {

constexpr unsigned kChildSeconds = 120; ///< after which a child hangs for good

/// Runs a callable in a copy of the process; true when it gave true, and in time.
inline bool in_child(const std::function<bool()>& run)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(kChildSeconds);
        _exit(run() ? 0 : 1);
    }
    int status = -1;
    const bool has_ended = waitpid(child, &status, 0) == child;
    if (has_ended && WIFSIGNALED(status))
        std::fprintf(stderr, "a copy of the process ended by signal %d\n", WTERMSIG(status));
    return has_ended && status == 0;
}

} // namespace vk::testing
