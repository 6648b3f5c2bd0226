// Timers, waiting with events, the application's end and ticks.
#include "Platform/Carbon/EventLoop.h"
#include "Platform/Support/ErrorNumbers.h"

#include <QCoreApplication>

#include <chrono>
#include <cmath>
#include <functional>
#include <time.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// A timer whose procedure counts, and then does what the test asks for.
class TestTimer {
public:
    explicit TestTimer(EventTimerInterval delay)
        : m_upp(NewEventLoopTimerUPP(&TestTimer::fired))
    {
        EXPECT_EQ(InstallEventLoopTimer(GetCurrentEventLoop(), delay, 0, m_upp, this, &m_timer), noErr);
    }
    ~TestTimer()
    {
        (void)RemoveEventLoopTimer(m_timer); // paramErr where the test removed it
        DisposeEventLoopTimerUPP(m_upp);
    }

    EventLoopTimerRef ref() const { return m_timer; }
    int count() const { return m_count; }
    void onFire(std::function<void(EventLoopTimerRef)> action) { m_action = std::move(action); }
    void disposeUPP() { DisposeEventLoopTimerUPP(std::exchange(m_upp, nullptr)); }

    // Pumps events until it fired `count` times, at most 5 s.
    bool waitForCount(int count) const
    {
        const Clock::time_point start = Clock::now();
        while (m_count < count && secondsSince(start) < 5)
            (void)ReceiveNextEvent(0.1);
        return m_count >= count;
    }

private:
    static void fired(EventLoopTimerRef timer, void* userData)
    {
        auto* const self = static_cast<TestTimer*>(userData);
        ++self->m_count;
        if (self->m_action)
            self->m_action(timer);
    }

    EventLoopTimerUPP m_upp;
    EventLoopTimerRef m_timer = nullptr;
    int m_count = 0;
    std::function<void(EventLoopTimerRef)> m_action;
};

void pumpFor(double seconds)
{
    const Clock::time_point start = Clock::now();
    while (secondsSince(start) < seconds)
        (void)ReceiveNextEvent(0.01);
}

} // namespace

TEST(EventLoopTimer, FiresOnceAfterItsDelayAndNotBefore)
{
    const Clock::time_point start = Clock::now();
    TestTimer timer(0.05);
    ASSERT_TRUE(timer.waitForCount(1));
    EXPECT_GE(secondsSince(start), 0.049);
    pumpFor(0.15);
    EXPECT_EQ(timer.count(), 1);
}

TEST(EventLoopTimer, HandsItsOwnReferenceToTheProcedure)
{
    TestTimer timer(0);
    EventLoopTimerRef given = nullptr;
    timer.onFire([&given](EventLoopTimerRef ref) { given = ref; });
    ASSERT_TRUE(timer.waitForCount(1));
    EXPECT_EQ(given, timer.ref());
}

TEST(EventLoopTimer, FiresAgainWhenSetInItsOwnProcedure)
{
    TestTimer timer(0);
    timer.onFire([&timer](EventLoopTimerRef ref) {
        if (timer.count() == 3)
            return;
        EXPECT_EQ(SetEventLoopTimerNextFireTime(ref, 0.001), noErr);
    });
    ASSERT_TRUE(timer.waitForCount(3));
    pumpFor(0.05);
    EXPECT_EQ(timer.count(), 3);
}

TEST(EventLoopTimer, MayBeRemovedInItsOwnProcedure)
{
    TestTimer timer(0);
    timer.onFire([](EventLoopTimerRef ref) { EXPECT_EQ(RemoveEventLoopTimer(ref), noErr); });
    ASSERT_TRUE(timer.waitForCount(1));
    EXPECT_EQ(SetEventLoopTimerNextFireTime(timer.ref(), 0), paramErr);
    pumpFor(0.03);
    EXPECT_EQ(timer.count(), 1);
}

TEST(EventLoopTimer, MayBeSetAndThenRemovedInItsOwnProcedure)
{
    TestTimer timer(0);
    timer.onFire([](EventLoopTimerRef ref) {
        EXPECT_EQ(SetEventLoopTimerNextFireTime(ref, 0), noErr);
        EXPECT_EQ(RemoveEventLoopTimer(ref), noErr);
    });
    ASSERT_TRUE(timer.waitForCount(1));
    pumpFor(0.03);
    EXPECT_EQ(timer.count(), 1);
}

TEST(EventLoopTimer, DoesNotFireAfterItsRemovalEvenWhenDue)
{
    TestTimer timer(0);
    ASSERT_EQ(RemoveEventLoopTimer(timer.ref()), noErr);
    pumpFor(0.03);
    EXPECT_EQ(timer.count(), 0);
}

TEST(EventLoopTimer, MayRemoveAnotherTimerThatIsDue)
{
    TestTimer first(0);
    TestTimer second(0);
    first.onFire([&second](EventLoopTimerRef) { (void)RemoveEventLoopTimer(second.ref()); });
    second.onFire([&first](EventLoopTimerRef) { (void)RemoveEventLoopTimer(first.ref()); });
    pumpFor(0.05);
    EXPECT_EQ(first.count() + second.count(), 1);
}

TEST(EventLoopTimer, WaitsForeverUntilItIsSet)
{
    TestTimer timer(kEventDurationForever);
    pumpFor(0.05);
    EXPECT_EQ(timer.count(), 0);
    ASSERT_EQ(SetEventLoopTimerNextFireTime(timer.ref(), 0), noErr);
    EXPECT_TRUE(timer.waitForCount(1));
}

TEST(EventLoopTimer, IsPutOffByANewFireTime)
{
    TestTimer timer(0.02);
    ASSERT_EQ(SetEventLoopTimerNextFireTime(timer.ref(), 3600), noErr);
    pumpFor(0.08);
    EXPECT_EQ(timer.count(), 0);
    ASSERT_EQ(SetEventLoopTimerNextFireTime(timer.ref(), kEventDurationForever), noErr);
    pumpFor(0.02);
    EXPECT_EQ(timer.count(), 0);
}

TEST(EventLoopTimer, OutlivesItsUPP)
{
    TestTimer timer(0);
    timer.disposeUPP();
    EXPECT_TRUE(timer.waitForCount(1));
}

TEST(EventLoopTimer, MayPumpEventsInItsProcedure)
{
    TestTimer inner(0.01);
    TestTimer outer(0);
    outer.onFire([&inner](EventLoopTimerRef) { EXPECT_TRUE(inner.waitForCount(1)); });
    ASSERT_TRUE(outer.waitForCount(1));
    EXPECT_EQ(outer.count(), 1);
}

TEST(EventLoopTimer, RefusesATimerThatIsGoneAndADelayThatIsNoNumber)
{
    EXPECT_EQ(RemoveEventLoopTimer(nullptr), paramErr);
    EXPECT_EQ(SetEventLoopTimerNextFireTime(nullptr, 0), paramErr);
    TestTimer timer(kEventDurationForever);
    EXPECT_EQ(SetEventLoopTimerNextFireTime(timer.ref(), std::nan("")), paramErr);
    ASSERT_EQ(RemoveEventLoopTimer(timer.ref()), noErr);
    EXPECT_EQ(RemoveEventLoopTimer(timer.ref()), paramErr);
}

TEST(EventLoopTimer, TakesDelaysBeyondTheRangeOfItsClock)
{
    TestTimer timer(1e300);
    pumpFor(0.02);
    EXPECT_EQ(timer.count(), 0);
}

TEST(EventLoopTimerDeathTest, RefusesAnInterval)
{
    EventLoopTimerRef timer = nullptr;
    EventLoopTimerUPP upp = NewEventLoopTimerUPP([](EventLoopTimerRef, void*) {});
    EXPECT_DEATH((void)InstallEventLoopTimer(GetCurrentEventLoop(), 0, 1, upp, nullptr, &timer),
        "failed assertion `interval == 0'");
    DisposeEventLoopTimerUPP(upp);
}

TEST(ReceiveNextEvent, TimesOutAfterItsTimeWhenNothingComes)
{
    while (ReceiveNextEvent(0) == noErr) { }
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(ReceiveNextEvent(0.05), eventLoopTimedOutErr);
    EXPECT_GE(secondsSince(start), 0.049);
    EXPECT_LT(secondsSince(start), 2);
}

TEST(ReceiveNextEvent, DoesNotWaitWithNoTimeToWait)
{
    while (ReceiveNextEvent(0) == noErr) { }
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(ReceiveNextEvent(0), eventLoopTimedOutErr);
    EXPECT_LT(secondsSince(start), 0.5);
}

TEST(ReceiveNextEvent, ReturnsWithTheFirstEvent)
{
    while (ReceiveNextEvent(0) == noErr) { }
    TestTimer timer(0.03);
    const Clock::time_point start = Clock::now();
    OSStatus status = eventLoopTimedOutErr;
    while (timer.count() == 0 && secondsSince(start) < 5)
        status = ReceiveNextEvent(5);
    EXPECT_EQ(status, noErr);
    EXPECT_EQ(timer.count(), 1);
    EXPECT_LT(secondsSince(start), 2);
}

TEST(ReceiveNextEvent, WorksAfterTheApplicationWasAskedToEnd)
{
    TestTimer quit(0);
    bool firedAfterQuit = false;
    quit.onFire([&firedAfterQuit](EventLoopTimerRef) {
        QuitApplicationEventLoop();
        TestTimer later(0.01);
        firedAfterQuit = later.waitForCount(1);
    });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_TRUE(firedAfterQuit);
}

TEST(QuitApplicationEventLoop, EndsTheRunningLoop)
{
    TestTimer quit(0.01);
    quit.onFire([](EventLoopTimerRef) { QuitApplicationEventLoop(); });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(quit.count(), 1);
}

TEST(QuitApplicationEventLoop, LeavesALoopThatIsStartedLaterAlone)
{
    QuitApplicationEventLoop();
    TestTimer quit(0.01);
    quit.onFire([](EventLoopTimerRef) { QuitApplicationEventLoop(); });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(quit.count(), 1);
}

TEST(TickCount, CountsSixtyASecondOfTheMonotonicClock)
{
    timespec before {};
    ASSERT_EQ(clock_gettime(CLOCK_MONOTONIC, &before), 0);
    const UInt32 ticks = TickCount();
    const double expected
        = std::fmod((double(before.tv_sec) + double(before.tv_nsec) / 1e9) * 60, 4294967296.0);
    EXPECT_NEAR(double(ticks), expected, 6);
}
