// Timer: measures the wall-clock time between game cycles and keeps it as the frame time.
// The counter is std::chrono::steady_clock in nanoseconds; tests may swap in a manual counter
// source, the game never does.
#pragma once

#include <cstdint>

class Timer {
public:
    // Returns the current counter value and stores the counts per second in *frequency.
    // Returns false when no counter is available.
    using CounterSource = bool (*)(int64_t* count, int64_t* frequency);

    // Takes the counter frequency and the start count; false when the counter is unavailable.
    bool init();
    // Seconds since the previous call (the first call measures from init()).
    float elapsed();
    // Stores the frame time that the rest of the cycle reads.
    void setFrameTime(float dt) { frameTime_ = dt; }
    float getFrameTime() const { return frameTime_; }

    // Replaces the counter source for every Timer; null restores the steady clock.
    static void setCounterSource(CounterSource source);
    // The steady-clock counter the game uses.
    static bool steadyCounter(int64_t* count, int64_t* frequency);

private:
    int64_t startCount_ = 0;
    int64_t frequency_ = 0;
    float frameTime_ = 0.0f;
};
