// ReaderSandbox: the fence the model reader child puts around itself before it reads a byte of
// any model. Everything a hostile file could make the importer do ends at a limit of the
// kernel's: the address space (an allocation fails), the stack (SIGSEGV), CPU time per model
// (SIGXCPU), file writes and new files (refused, or SIGXFSZ), new processes, open descriptors and
// core dumps. The limits hold for the rest of the process's life; only a forked child that ends
// with _exit may enter it.
#pragma once

namespace ReaderSandbox {

// Where the child's socket lives once fenced in; every other descriptor above stderr is closed.
inline constexpr int kSocketFd = 3;
// Descriptors the fenced process may hold: stdio, the socket, a model and the files it names.
inline constexpr int kOpenFiles = 16;

// Fences the calling process in for good: `socket` (or nothing, for -1) moves to kSocketFd, and
// the address space may grow by `memoryBytes` beyond what is mapped now.
void enter(int socket, long memoryBytes);
// The next piece of work may use `seconds` more CPU time (up to a second more: the kernel counts
// whole seconds); past it the kernel sends SIGXCPU.
void allowCpu(double seconds);
// Whether an allocation with `new` failed since the last call; clears it.
bool takeAllocationFailure();
// Whether this kernel keeps the fenced process from creating or changing files (Landlock);
// without it, file writes are still stopped by the file-size limit.
bool refusesNewFiles();

} // namespace ReaderSandbox
