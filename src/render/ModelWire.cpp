// Whole messages over a stream socket, with a deadline on the reading side (see ModelWire.h).
#include "ModelWire.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

// Far more than any answer we can use (the largest model's arrays and frames) or any model we
// send (64 MiB); a length beyond this means the other side is broken.
static constexpr uint64_t kMaxMessageBytes = uint64_t(1) << 30;

namespace modelwire {
namespace {

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

// Waits until `fd` can be read or the deadline passes.
bool readable(int fd, const Clock::time_point& deadline) {
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd ready{fd, POLLIN, 0};
        const int polled = left.count() > 0 ? poll(&ready, 1, int(left.count())) : 0;
        if (polled < 0 && errno == EINTR) {
            continue;
        }
        if (polled == 0) {
            errno = ETIMEDOUT;
        }
        return polled > 0;
    }
}

bool receiveAll(int fd, void* data, size_t size, const Clock::time_point* deadline) {
    char* at = static_cast<char*>(data);
    while (size > 0) {
        if (deadline != nullptr && !readable(fd, *deadline)) {
            return false;
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

} // namespace

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

} // namespace modelwire
