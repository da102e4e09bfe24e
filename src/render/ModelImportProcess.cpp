// The model reader in a child process. The child is forked at the first import, while the game
// is still small, and then serves one request after another over a socket pair: the parent sends
// the file's absolute name (or the bytes of a model in memory) and whether to bake frames, the
// child imports and sends its answer back, length first. Forking once instead of per model keeps
// the cost to start-up low: the reader's heap is its own after the first model. A child that
// dies, hangs past the deadline or answers out of line is killed and collected, the import
// fails, and the next import forks a fresh one. The child ends with _exit, so that nothing of the
// parent's (stdio buffers, the X connection, atexit handlers) is flushed or closed twice.
// The level's files can be asked for ahead of their loads: the child imports the next one on the
// second core while the game uploads the last one's texture, and an answer waits in the socket
// until its load takes it. Anything out of line (a load not in the list, a reader that died on
// the way) drops what is pending, and the load asks a fresh reader as if nothing had been sent.
#include "ModelImport.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#endif

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <deque>
#include <filesystem>

// Valgrind runs the reader some tens of times slower; the limit stretches with it.
static constexpr double kValgrindSlowdown = 20.0;
// Far more than any answer we can use (the largest model's arrays and frames) or any model we
// send (64 MiB); a length beyond this means the other side is broken.
static constexpr uint64_t kMaxMessageBytes = uint64_t(1) << 30;

namespace {

using Clock = std::chrono::steady_clock;

// The reader child and our end of its socket; pid 0 when there is none.
struct Reader {
    pid_t pid = 0;
    int socket = -1;
};
Reader reader;
// Requests sent ahead of their loads, in the order their answers will come.
std::deque<ModelRequest> pending;

bool sendAll(int fd, const void* data, size_t size) {
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = send(fd, at, size, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return false;
        }
        at += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// Reads exactly `size` bytes, waiting until the deadline at most (none in the child, which
// waits for the game for as long as the game runs).
bool receiveAll(int fd, void* data, size_t size, const Clock::time_point* deadline) {
    char* at = static_cast<char*>(data);
    while (size > 0) {
        if (deadline != nullptr) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(*deadline - Clock::now());
            pollfd ready{fd, POLLIN, 0};
            const int polled = left.count() > 0 ? poll(&ready, 1, int(left.count())) : 0;
            if (polled < 0 && errno == EINTR) {
                continue;
            }
            if (polled <= 0) {
                errno = polled == 0 ? ETIMEDOUT : errno;
                return false;
            }
        }
        const ssize_t n = read(fd, at, size);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            errno = n == 0 ? EPIPE : errno;
            return false;
        }
        at += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool sendMessage(int fd, const void* data, uint64_t size) {
    return sendAll(fd, &size, sizeof size) && (size == 0 || sendAll(fd, data, size));
}

bool receiveMessage(int fd, std::string* out, const Clock::time_point* deadline) {
    uint64_t size = 0;
    if (!receiveAll(fd, &size, sizeof size, deadline)) {
        return false;
    }
    if (size > kMaxMessageBytes) {
        errno = EMSGSIZE;
        return false;
    }
    out->resize(size);
    return size == 0 || receiveAll(fd, &(*out)[0], size, deadline);
}

// The child's loop: a request is the bake flag, the name and the bytes (none: read the file).
[[noreturn]] void serve(int fd) {
    // A reader whose game has gone away has no one to answer.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::string flag, name, bytes;
    while (receiveMessage(fd, &flag, nullptr) && receiveMessage(fd, &name, nullptr) &&
           receiveMessage(fd, &bytes, nullptr)) {
        ModelSource source;
        source.name = name;
        source.data = bytes.empty() ? nullptr : bytes.data();
        source.size = bytes.size();
        std::string answer;
        try {
            ModelAnswer model;
            importModelHere(source, flag == "1", &model);
            answer = encodeModelAnswer(model);
        } catch (...) {
            answer.clear(); // an empty answer is malformed: the import fails
        }
        if (!sendMessage(fd, answer.data(), answer.size())) {
            break;
        }
    }
    _exit(0);
}

double timeLimit(double seconds) {
#ifdef RUNNING_ON_VALGRIND
    if (RUNNING_ON_VALGRIND) {
        return seconds * kValgrindSlowdown;
    }
#endif
    return seconds;
}

bool startReader(std::string* failure) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        *failure = std::string("cannot start the model reader: ") + std::strerror(errno);
        return false;
    }
    const pid_t child = fork();
    if (child < 0) {
        *failure = std::string("cannot start the model reader: ") + std::strerror(errno);
        close(ends[0]);
        close(ends[1]);
        return false;
    }
    if (child == 0) {
        close(ends[0]);
        serve(ends[1]);
    }
    close(ends[1]);
    reader.pid = child;
    reader.socket = ends[0];
    return true;
}

// How the child ended, in words.
std::string endOf(int status) {
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        return "the model reader died of signal " + std::to_string(signal) + " (" +
               strsignal(signal) + ")";
    }
    return "the model reader ended with status " + std::to_string(WEXITSTATUS(status));
}

// Kills (when `kill` is set) and collects the child; its reason, if it ended by itself.
std::string stopReader(bool killFirst) {
    close(reader.socket);
    if (killFirst) {
        kill(reader.pid, SIGKILL);
    }
    int status = 0;
    while (waitpid(reader.pid, &status, 0) < 0 && errno == EINTR) {
    }
    reader = Reader();
    pending.clear();
    return endOf(status);
}

// The name the child is sent: a file's absolute name (its working directory may differ).
std::string requestName(const ModelSource& source) {
    std::error_code error;
    return source.data != nullptr ? source.name
                                  : std::filesystem::absolute(source.name, error).string();
}

bool sendRequest(const ModelSource& source, bool bakeFrames) {
    const std::string name = requestName(source);
    return sendMessage(reader.socket, bakeFrames ? "1" : "0", 1) &&
           sendMessage(reader.socket, name.data(), name.size()) &&
           sendMessage(reader.socket, source.data, source.data != nullptr ? source.size : 0);
}

Clock::time_point deadlineIn(double seconds) {
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(
                              std::chrono::duration<double>(timeLimit(seconds)));
}

// The answer to a request sent ahead for this load, if there is one; answers to requests before
// it are dropped. False when none was pending, or on any trouble, which stops the reader: the
// load then asks a fresh one and meets the trouble again, with its reason, if it was its own.
bool takePending(const ModelSource& source, bool bakeFrames, double seconds, ModelAnswer* out) {
    const std::string name = source.data == nullptr ? requestName(source) : std::string();
    while (!pending.empty()) {
        const bool mine = !name.empty() && pending.front().file == name &&
                          pending.front().bakeFrames == bakeFrames;
        const Clock::time_point deadline = deadlineIn(seconds);
        std::string answer;
        if (!receiveMessage(reader.socket, &answer, &deadline)) {
            stopReader(true);
            return false;
        }
        pending.pop_front();
        if (mine) {
            if (decodeModelAnswer(answer.data(), answer.size(), out)) {
                return true;
            }
            stopReader(true);
            return false;
        }
    }
    return false;
}

} // namespace

bool startModelReader(std::string* failure) {
    failure->clear();
    return reader.pid != 0 || startReader(failure);
}

void prefetchModels(const std::vector<ModelRequest>& requests) {
    std::string failure;
    if (!startModelReader(&failure)) {
        return; // each load will try again and say why
    }
    for (const ModelRequest& request : requests) {
        ModelSource source;
        source.name = request.file;
        if (!sendRequest(source, request.bakeFrames)) {
            stopReader(true);
            return;
        }
        pending.push_back({requestName(source), request.bakeFrames});
    }
}

bool importModelIsolated(const ModelSource& source, bool bakeFrames, double seconds,
                         ModelAnswer* out, std::string* failure) {
    *out = ModelAnswer();
    failure->clear();
    if (takePending(source, bakeFrames, seconds, out)) {
        return true;
    }
    *out = ModelAnswer();
    // A reader that ended since the last import (killed from outside, say) gets one restart.
    for (int attempt = 0;; ++attempt) {
        if (reader.pid == 0 && !startReader(failure)) {
            return false;
        }
        if (sendRequest(source, bakeFrames)) {
            break;
        }
        stopReader(true);
        if (attempt == 1) {
            *failure = "cannot send the model to its reader";
            return false;
        }
    }
    const Clock::time_point deadline = deadlineIn(seconds);
    std::string answer;
    if (!receiveMessage(reader.socket, &answer, &deadline)) {
        const int reason = errno;
        const std::string ended = stopReader(reason != EPIPE);
        *failure = reason == EPIPE ? ended
                   : reason == ETIMEDOUT
                       ? "the model reader took longer than " +
                             std::to_string(static_cast<int>(timeLimit(seconds))) + " s"
                       : std::string("the model reader's answer failed: ") + std::strerror(reason);
        return false;
    }
    if (!decodeModelAnswer(answer.data(), answer.size(), out)) {
        stopReader(true); // a reader that says this much nonsense is not asked again
        *failure = "the model reader's answer is malformed";
        return false;
    }
    return true;
}
