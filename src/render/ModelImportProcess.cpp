// The model reader in a child process. fork() gives the child the parent's memory (the bytes of a
// model in memory included) without copying it; the child imports, writes its answer into a pipe
// and ends with _exit, so that nothing of the parent's (stdio buffers, the X connection, atexit
// handlers) is flushed or closed twice. The parent reads the answer against a deadline, then
// collects the child: only a child that ended normally, on time, with a well-formed answer counts.
#include "ModelImport.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#endif

#include <cerrno>
#include <chrono>
#include <cstring>

// Valgrind runs the reader some tens of times slower; the limit stretches with it.
static constexpr double kValgrindSlowdown = 20.0;
// Far more than any answer we can use (the largest model's arrays and frames); a child that
// writes on beyond this is broken.
static constexpr size_t kMaxAnswerBytes = size_t(1) << 30;
static constexpr size_t kReadChunk = 1 << 16;
// Exit code of a child that could not even write its answer.
static constexpr int kChildFailed = 3;

namespace {

using Clock = std::chrono::steady_clock;

bool writeAll(int fd, const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

[[noreturn]] void runChild(int fd, const ModelSource& source, bool bakeFrames) {
    // A child whose game has gone away has no one to answer.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    bool written = false;
    try {
        ModelAnswer model;
        importModelHere(source, bakeFrames, &model);
        written = writeAll(fd, encodeModelAnswer(model));
    } catch (...) {
        written = false;
    }
    _exit(written ? 0 : kChildFailed);
}

double timeLimit(double seconds) {
#ifdef RUNNING_ON_VALGRIND
    if (RUNNING_ON_VALGRIND) {
        return seconds * kValgrindSlowdown;
    }
#endif
    return seconds;
}

// Reads until the child closes its end; false on time-out, a read error or an answer too large.
bool readAnswer(int fd, double seconds, std::string* answer, std::string* failure) {
    const Clock::time_point deadline =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(
                           std::chrono::duration<double>(timeLimit(seconds)));
    char chunk[kReadChunk];
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            *failure = "the model reader took longer than " +
                       std::to_string(static_cast<int>(timeLimit(seconds))) + " s";
            return false;
        }
        pollfd ready{fd, POLLIN, 0};
        const int polled = poll(&ready, 1, static_cast<int>(left.count()));
        if (polled < 0 && errno == EINTR) {
            continue;
        }
        const ssize_t n = polled > 0 ? read(fd, chunk, sizeof chunk) : 0;
        if (polled > 0 && n < 0 && errno == EINTR) {
            continue;
        }
        if (polled < 0 || n < 0) {
            *failure = std::string("reading the model reader's answer failed: ") +
                       std::strerror(errno);
            return false;
        }
        if (polled > 0 && n == 0) {
            return true;
        }
        answer->append(chunk, static_cast<size_t>(n));
        if (answer->size() > kMaxAnswerBytes) {
            *failure = "the model reader's answer is too large";
            return false;
        }
    }
}

// How the child ended, in words; empty when it exited normally.
std::string endOf(int status) {
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        return "the model reader died of signal " + std::to_string(signal) + " (" +
               strsignal(signal) + ")";
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        return "the model reader ended with status " + std::to_string(WEXITSTATUS(status));
    }
    return "";
}

} // namespace

bool importModelIsolated(const ModelSource& source, bool bakeFrames, double seconds,
                         ModelAnswer* out, std::string* failure) {
    *out = ModelAnswer();
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        *failure = std::string("cannot start the model reader: ") + std::strerror(errno);
        return false;
    }
    const pid_t child = fork();
    if (child < 0) {
        *failure = std::string("cannot start the model reader: ") + std::strerror(errno);
        close(fds[0]);
        close(fds[1]);
        return false;
    }
    if (child == 0) {
        close(fds[0]);
        runChild(fds[1], source, bakeFrames);
    }
    close(fds[1]);
    std::string answer;
    const bool complete = readAnswer(fds[0], seconds, &answer, failure);
    close(fds[0]);
    if (!complete) {
        kill(child, SIGKILL);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!complete) {
        return false;
    }
    *failure = endOf(status);
    if (!failure->empty()) {
        return false;
    }
    if (!decodeModelAnswer(answer.data(), answer.size(), out)) {
        *failure = "the model reader's answer is malformed";
        return false;
    }
    return true;
}
