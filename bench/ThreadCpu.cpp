// Per-thread CPU time from /proc/self/task/<tid>/schedstat (nanoseconds on a CPU) and the thread
// names in /proc/self/task/<tid>/comm.
#include "ThreadCpu.h"

#include <dirent.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

// Nanoseconds on a CPU of one thread, 0 if unreadable.
static double cpuNs(const std::string& task) {
    std::ifstream in(task + "/schedstat");
    double ns = 0.0;
    in >> ns;
    return in ? ns : 0.0;
}

static std::string threadName(const std::string& task) {
    std::ifstream in(task + "/comm");
    std::string name;
    std::getline(in, name);
    return name;
}

ThreadCpu threadCpuNow() {
    ThreadCpu cpu;
    DIR* dir = opendir("/proc/self/task");
    if (dir == nullptr) {
        return cpu;
    }
    const std::string self = std::to_string(getpid());
    while (const dirent* entry = readdir(dir)) {
        const std::string tid = entry->d_name;
        if (tid == "." || tid == "..") {
            continue;
        }
        const std::string task = "/proc/self/task/" + tid;
        if (tid == self) {
            cpu.mainMs += cpuNs(task) / 1e6;
        } else if (threadName(task).rfind("llvmpipe", 0) == 0) {
            cpu.rasterMs += cpuNs(task) / 1e6;
        }
    }
    closedir(dir);
    return cpu;
}
