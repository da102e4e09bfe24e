// ModelWire: the byte stream between the game and its model reader child, and the child's side
// of it. A message is a 64-bit length and that many bytes. The game reads with a deadline; the
// child waits for the game for as long as the game runs.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace modelwire {

using Clock = std::chrono::steady_clock;

// Writes the whole message; false when the other end is gone.
bool sendMessage(int fd, const void* data, uint64_t size);
// Reads one whole message, waiting until the deadline at most (none: for ever). False with errno
// ETIMEDOUT at the deadline, EPIPE when the other end closed, EMSGSIZE for an absurd length.
bool receiveMessage(int fd, std::string* out, const Clock::time_point* deadline);

// The child's life (ModelReaderChild.cpp): fences itself in, then answers requests on `fd` until
// the game goes away or an import fails, and ends with _exit. Each model may take
// `secondsPerModel` of CPU and `memoryBytes` more address space than the child had at its start.
[[noreturn]] void serveModels(int fd, double secondsPerModel, long memoryBytes);

} // namespace modelwire
