// ThreadCpu: CPU time used so far by this process's threads, split into the calling thread (the
// game's own, where Mesa's llvmpipe transforms, lights and bins the vertices) and llvmpipe's
// rasteriser threads (which shade the fragments). Read from /proc, so it counts only time on a
// CPU: it tells what bounds a frame even when other work shares the machine.
#pragma once

struct ThreadCpu {
    double mainMs = 0.0;
    double rasterMs = 0.0;
};

// Totals since each thread started; subtract two readings for an interval. Zero where /proc is
// not readable.
ThreadCpu threadCpuNow();
