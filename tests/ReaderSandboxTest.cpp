// The model reader's fence: what a process fenced in can no longer do, each attempt made in a
// child of the test (and, to show that the attempt is real, once more in a child without the
// fence), reported by its exit status.
#include "ReaderSandbox.h"
#include "TestSupport.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Far beyond the fence's allowance below.
constexpr size_t kMapBytes = size_t(2) << 30;
constexpr long kAllowance = 64L << 20;
// A descriptor of the test's, which the fenced process must not hold.
constexpr int kGameFd = 100;

// Whether the attempt succeeded, made in a child fenced in or not: 1 yes, 0 no, -1 the child
// ended some other way.
int attemptInChild(bool (*attempt)(), bool fenced) {
    const pid_t child = fork();
    if (child == 0) {
        if (fenced) {
            ReaderSandbox::enter(-1, kAllowance);
        }
        _exit(attempt() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class ReaderSandboxTest : public TempDirTest {};

TEST_F(ReaderSandboxTest, AFencedProcessCanNeitherGrowNorWriteNorMultiply) {
    ASSERT_EQ(dup2(open("/dev/null", O_RDONLY), kGameFd), kGameFd);
    // Core dumps allowed here, where the hard limit lets the test allow them.
    rlimit core{};
    getrlimit(RLIMIT_CORE, &core);
    const rlimit before = core;
    core.rlim_cur = core.rlim_max;
    const bool coreAllowed = core.rlim_max != 0 && setrlimit(RLIMIT_CORE, &core) == 0;
    const struct {
        const char* what;
        bool (*attempt)();
        bool applies;
    } attempts[] = {
        {"map 2 GiB more",
         [] {
             return mmap(nullptr, kMapBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
                         -1, 0) != MAP_FAILED;
         },
         true},
        {"create a file", [] { return open("made-by-the-reader", O_CREAT | O_WRONLY, 0600) >= 0; },
         ReaderSandbox::refusesNewFiles()},
        {"hold more descriptors than allowed",
         [] {
             for (int i = 0; i <= ReaderSandbox::kOpenFiles; ++i) {
                 if (open("/dev/null", O_RDONLY) < 0) {
                     return false;
                 }
             }
             return true;
         },
         true},
        // The kernel lets root start processes whatever the limit says.
        {"start a process",
         [] {
             const pid_t p = fork();
             if (p == 0) {
                 _exit(0);
             }
             return p > 0 && waitpid(p, nullptr, 0) == p;
         },
         geteuid() != 0},
        {"leave a core dump",
         [] {
             rlimit core{};
             return getrlimit(RLIMIT_CORE, &core) == 0 && core.rlim_cur != 0;
         },
         coreAllowed},
        {"keep the game's descriptors", [] { return fcntl(kGameFd, F_GETFD) != -1; }, true},
    };
    for (const auto& a : attempts) {
        if (!a.applies) {
            continue;
        }
        EXPECT_EQ(attemptInChild(a.attempt, false), 1) << a.what << " (without the fence)";
        EXPECT_EQ(attemptInChild(a.attempt, true), 0) << a.what;
    }
    close(kGameFd);
    setrlimit(RLIMIT_CORE, &before);
}

// The CPU allowance ends a process that spins past it with SIGXCPU.
TEST_F(ReaderSandboxTest, SpinningPastTheCpuAllowanceEndsInSigxcpu) {
    const pid_t child = fork();
    if (child == 0) {
        ReaderSandbox::enter(-1, kAllowance);
        ReaderSandbox::allowCpu(1.0);
        for (volatile unsigned long spin = 0;; spin = spin + 1) {
        }
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGXCPU);
}

} // namespace
