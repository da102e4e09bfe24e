// The model reader child: it fences itself in with resource limits before it reads a byte of any
// request, then imports one model after another and answers each. Whatever a hostile file makes
// the importer do is stopped by the kernel: a stack overflow or a heap the importer damaged ends
// in a signal, a file that spins in SIGXCPU, one that asks for gigabytes in an allocation that
// fails; the game sees the child's end and names it. After any import that fails, the child ends
// itself: the next model is read by a fresh child, never by a heap a bad file touched. It ends
// with _exit, so that nothing of the game's (stdio buffers, atexit handlers) runs twice.
#include "ModelImport.h"
#include "ModelWire.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>
#include <string>

// The socket is moved to this descriptor and every other one above stderr is closed; the
// importer may open this many more (a model and the files it names).
static constexpr int kSocketFd = 3;
static constexpr rlim_t kOpenFiles = 16;
// The main thread's stack: deep enough for every real model, and the importer's recursion on a
// hierarchy thousands deep overflows it into a SIGSEGV.
static constexpr rlim_t kStackBytes = 8u << 20;

namespace modelwire {
namespace {

// Lowers a limit (never raises it above what the game was given).
void lowerLimit(int resource, rlim_t value) {
    rlimit now{};
    getrlimit(resource, &now);
    const rlim_t hard = now.rlim_max;
    const rlim_t soft = hard == RLIM_INFINITY ? value : std::min(value, hard);
    rlimit wanted{soft, hard};
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

// Whether an allocation failed since the last request. The importer swallows the bad_alloc of
// an allocation past the address space limit (it may report no more than an incomplete scene), so
// the child hears of it where every failed `new` goes: the new-handler, which can only reach
// state of the process.
bool& allocationFailed() {
    static bool failed = false;
    return failed;
}

void onAllocationFailure() {
    allocationFailed() = true;
    throw std::bad_alloc();
}

// The limits that hold for the child's whole life. The address space is counted from what it
// has mapped at its start: the game's libraries and, under a sanitizer, its shadow memory.
void enterSandbox(int fd, long memoryBytes) {
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a reader whose game has gone has no one to answer
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    signal(SIGXCPU, SIG_DFL);
    signal(SIGXFSZ, SIG_DFL);
    if (fd != kSocketFd) {
        dup2(fd, kSocketFd);
        close(fd);
    }
    for (int other = kSocketFd + 1; other < 1024; ++other) {
        close(other);
    }
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
    std::set_new_handler(onAllocationFailure);
}

// CPU seconds used so far.
double cpuSecondsUsed() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
}

// The next model may use `seconds` more of CPU (up to a second more: the limit is in whole
// seconds); past it the kernel sends SIGXCPU.
void allowCpu(double seconds) {
    rlimit now{};
    getrlimit(RLIMIT_CPU, &now);
    const rlim_t wanted = static_cast<rlim_t>(std::ceil(cpuSecondsUsed() + seconds));
    rlimit next{now.rlim_max == RLIM_INFINITY ? wanted : std::min(wanted, now.rlim_max),
                now.rlim_max};
    setrlimit(RLIMIT_CPU, &next);
}

} // namespace

[[noreturn]] void serveModels(int fd, double secondsPerModel, long memoryBytes) {
    enterSandbox(fd, memoryBytes);
    std::string flag, name, bytes;
    while (receiveMessage(kSocketFd, &flag, nullptr) && receiveMessage(kSocketFd, &name, nullptr) &&
           receiveMessage(kSocketFd, &bytes, nullptr)) {
        allowCpu(secondsPerModel);
        allocationFailed() = false;
        ModelSource source;
        source.name = name;
        source.data = bytes.empty() ? nullptr : bytes.data();
        source.size = bytes.size();
        ModelAnswer model;
        std::string note, answer;
        try {
            importModelHere(source, flag == "1", &model, &note);
            answer = encodeModelAnswer(model);
        } catch (...) { // the answer's bytes did not fit
            model = ModelAnswer();
            answer = encodeModelAnswer(model);
        }
        // The cause as it follows "the model reader on '<file>'" in the game's log.
        note = allocationFailed() && model.outcome != ModelAnswer::kImported
                   ? " went over its memory limit of " + std::to_string(memoryBytes >> 20) + " MiB"
                   : ": " + note;
        if (!sendMessage(kSocketFd, note.data(), note.size()) ||
            !sendMessage(kSocketFd, answer.data(), answer.size()) ||
            model.outcome != ModelAnswer::kImported) {
            break;
        }
    }
    _exit(0);
}

} // namespace modelwire
