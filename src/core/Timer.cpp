// Frame timing on a monotonic counter. The "last" reading is deliberately shared by all timers
// (a function-local static): the game has one timer, and a second would share its reference.
#include "Timer.h"

#include <chrono>

static Timer::CounterSource counterSource = &Timer::steadyCounter;

bool Timer::steadyCounter(int64_t* count, int64_t* frequency) {
    using Clock = std::chrono::steady_clock;
    const auto ns =
        std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch());
    *count = static_cast<int64_t>(ns.count());
    *frequency = 1000000000;
    return true;
}

void Timer::setCounterSource(CounterSource source) {
    counterSource = source != nullptr ? source : &Timer::steadyCounter;
}

bool Timer::init() {
    int64_t count = 0;
    int64_t frequency = 0;
    if (!counterSource(&count, &frequency) || frequency <= 0) {
        return false;
    }
    frequency_ = frequency;
    startCount_ = count;
    return true;
}

float Timer::elapsed() {
    static bool started = false;
    static int64_t lastCount = 0;
    if (!started) {
        started = true;
        lastCount = startCount_;
    }
    int64_t now = 0;
    int64_t frequency = 0;
    counterSource(&now, &frequency);
    // Without a frequency (init failed) the interval is meaningless; report none rather than
    // dividing by zero.
    if (frequency_ <= 0) {
        lastCount = now;
        return 0.0f;
    }
    const long double dt =
        static_cast<long double>(now - lastCount) / static_cast<long double>(frequency_);
    lastCount = now;
    return static_cast<float>(dt);
}
