// The frame timer on a manual counter: first interval from init, shared last reading.
#include "Timer.h"

#include <gtest/gtest.h>

namespace {

int64_t manualNow = 0;
int64_t manualFrequency = 1000;
bool manualAvailable = true;

bool manualCounter(int64_t* count, int64_t* frequency) {
    *count = manualNow;
    *frequency = manualFrequency;
    return manualAvailable;
}

class TimerTest : public ::testing::Test {
protected:
    void SetUp() override {
        manualNow = 5000;
        manualFrequency = 1000;
        manualAvailable = true;
        Timer::setCounterSource(&manualCounter);
    }
    void TearDown() override { Timer::setCounterSource(nullptr); }
};

TEST_F(TimerTest, FrameTimeIsZeroUntilSet) {
    Timer t;
    EXPECT_EQ(t.getFrameTime(), 0.0f);
    t.setFrameTime(0.25f);
    EXPECT_EQ(t.getFrameTime(), 0.25f);
}

TEST_F(TimerTest, FirstIntervalIsMeasuredFromInit) {
    Timer t;
    ASSERT_TRUE(t.init());
    manualNow += 2500; // loading takes 2.5 s
    EXPECT_FLOAT_EQ(t.elapsed(), 2.5f);
    manualNow += 16;
    EXPECT_FLOAT_EQ(t.elapsed(), 0.016f);
    EXPECT_FLOAT_EQ(t.elapsed(), 0.0f) << "two calls with nothing between give 0";
}

TEST_F(TimerTest, LastReadingIsSharedBetweenTimers) {
    Timer a;
    Timer b;
    ASSERT_TRUE(a.init());
    manualNow += 1000;
    ASSERT_TRUE(b.init());
    manualNow += 500;
    EXPECT_FLOAT_EQ(b.elapsed(), 0.5f) << "the program's first call measures from its own timer";
    manualNow += 250;
    EXPECT_FLOAT_EQ(a.elapsed(), 0.25f) << "a shares b's last reading";
}

TEST_F(TimerTest, LargeCountsKeepPrecision) {
    manualNow = int64_t(1) << 52;
    manualFrequency = 1000000000;
    Timer t;
    ASSERT_TRUE(t.init());
    manualNow += 16666667;
    EXPECT_NEAR(t.elapsed(), 0.016666667f, 1e-7f);
}

TEST_F(TimerTest, UnavailableCounterFailsInitAndNeverYieldsGarbage) {
    manualAvailable = false;
    Timer t;
    EXPECT_FALSE(t.init());
    manualNow += 100;
    EXPECT_EQ(t.elapsed(), 0.0f);
}

TEST(SteadyTimerTest, RealClockNeverRunsBackwards) {
    Timer t;
    ASSERT_TRUE(t.init());
    for (int i = 0; i < 1000; ++i) {
        EXPECT_GE(t.elapsed(), 0.0f);
    }
}

} // namespace
