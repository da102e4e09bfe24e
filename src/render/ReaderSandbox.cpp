// The model reader child's fence (see ReaderSandbox.h): resource limits lowered for good, the
// game's descriptors closed, and, where the kernel has Landlock, no file created or changed.
#include "ReaderSandbox.h"

#include <linux/landlock.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <new>

// The main thread's stack: deep enough for every real model, and the importer's recursion on a
// hierarchy thousands deep overflows it into a SIGSEGV.
static constexpr rlim_t kStackBytes = 8u << 20;
// Every Landlock right that creates, changes or removes a file, by the first ABI version that
// knows it.
static constexpr uint64_t kWritesV1 =
    LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
    LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
    LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_BLOCK |
    LANDLOCK_ACCESS_FS_MAKE_SYM;
static constexpr uint64_t kReferV2 = 1ULL << 13;    // LANDLOCK_ACCESS_FS_REFER
static constexpr uint64_t kTruncateV3 = 1ULL << 14; // LANDLOCK_ACCESS_FS_TRUNCATE

namespace {

// Lowers a limit for good, the hard limit with it (never above what the game was given), so
// that the process cannot raise it again (root excepted).
void lowerLimit(int resource, rlim_t value) {
    rlimit now{};
    getrlimit(resource, &now);
    const rlim_t limit = now.rlim_max == RLIM_INFINITY ? value : std::min(value, now.rlim_max);
    rlimit wanted{limit, limit};
    setrlimit(resource, &wanted);
}

// The address space mapped now, from /proc/self/statm (pages); 0 when it cannot be read.
unsigned long long mappedBytes() {
    unsigned long long pages = 0;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%llu", &pages) != 1) {
            pages = 0;
        }
        std::fclose(statm);
    }
    return pages * static_cast<unsigned long long>(sysconf(_SC_PAGESIZE));
}

// The Landlock ABI version of this kernel; 0 without Landlock.
long landlockVersion() {
    const long version =
        syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    return version > 0 ? version : 0;
}

// A ruleset that handles every write right and allows none of them anywhere: reading stays.
void refuseWrites() {
    const long version = landlockVersion();
    if (version == 0) {
        return;
    }
    landlock_ruleset_attr rules{};
    rules.handled_access_fs =
        kWritesV1 | (version >= 2 ? kReferV2 : 0) | (version >= 3 ? kTruncateV3 : 0);
    const long ruleset =
        syscall(SYS_landlock_create_ruleset, &rules, sizeof rules.handled_access_fs, 0);
    if (ruleset >= 0) {
        syscall(SYS_landlock_restrict_self, ruleset, 0);
        close(static_cast<int>(ruleset));
    }
}

// The importer swallows the bad_alloc of an allocation past the address space limit (it may
// report no more than an incomplete scene), so the fenced process hears of it where every failed
// `new` goes: the new-handler, which can only reach state of the process.
bool& allocationFailed() {
    static bool failed = false;
    return failed;
}

void onAllocationFailure() {
    allocationFailed() = true;
    throw std::bad_alloc();
}

// The descriptors: the socket at its place, nothing of the game's besides stdio.
void keepOnly(int socket) {
    if (socket >= 0 && socket != ReaderSandbox::kSocketFd) {
        dup2(socket, ReaderSandbox::kSocketFd);
        close(socket);
    }
    const int from = socket >= 0 ? ReaderSandbox::kSocketFd + 1 : ReaderSandbox::kSocketFd;
    close_range(static_cast<unsigned>(from), ~0u, 0);
}

} // namespace

namespace ReaderSandbox {

// The address space is counted from what is mapped at the start: the game's libraries and,
// under a sanitizer, its shadow memory.
void enter(int socket, long memoryBytes) {
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a reader whose game has gone has no one to answer
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    signal(SIGXCPU, SIG_DFL);
    signal(SIGXFSZ, SIG_DFL);
    keepOnly(socket);
    const unsigned long long mapped = mappedBytes();
    if (mapped > 0) {
        lowerLimit(RLIMIT_AS,
                   static_cast<rlim_t>(mapped + static_cast<unsigned long long>(memoryBytes)));
    }
    lowerLimit(RLIMIT_STACK, kStackBytes);
    lowerLimit(RLIMIT_CORE, 0);
    lowerLimit(RLIMIT_FSIZE, 0);
    lowerLimit(RLIMIT_NOFILE, kOpenFiles);
    lowerLimit(RLIMIT_NPROC, 0);
    refuseWrites();
    std::set_new_handler(onAllocationFailure);
}

void allowCpu(double seconds) {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const double spent = static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
                         1e-6 * static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
    rlimit now{};
    getrlimit(RLIMIT_CPU, &now);
    const rlim_t wanted = static_cast<rlim_t>(std::ceil(spent + seconds));
    rlimit next{now.rlim_max == RLIM_INFINITY ? wanted : std::min(wanted, now.rlim_max),
                now.rlim_max};
    setrlimit(RLIMIT_CPU, &next);
}

bool takeAllocationFailure() {
    const bool failed = allocationFailed();
    allocationFailed() = false;
    return failed;
}

bool refusesNewFiles() {
    return landlockVersion() > 0;
}

} // namespace ReaderSandbox
