// Processing events in bounded waits.
#include "Platform/CoreFoundation/CFRunLoop.h"

#include <QCoreApplication>
#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>

namespace {

double secondsFor(const auto& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool run(double seconds, bool returnAfterOne)
{
    return CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, returnAfterOne);
}

/// Leaves nothing from before to be handled.
void drain()
{
    while (run(0, false)) { }
}

} // namespace

TEST(CFRunLoop, IsOneObjectPerThread)
{
    EXPECT_EQ(CFRunLoopGetCurrent(), CFRunLoopGetCurrent());
}

TEST(CFRunLoopDeathTest, BelongsToTheMainThread)
{
    EXPECT_DEATH(std::thread([] { (void)CFRunLoopGetCurrent(); }).join(), "failed assertion");
}

TEST(CFRunLoop, WaitsTheWholeTimeWithoutEvents)
{
    drain();
    bool handled = true;
    const double took = secondsFor([&] { handled = run(0.15, true); });
    EXPECT_FALSE(handled);
    EXPECT_GE(took, 0.15);
    EXPECT_LT(took, 1);
}

TEST(CFRunLoop, ReturnsAfterOneWhenAsked)
{
    drain();
    QTimer::singleShot(20, QCoreApplication::instance(), [] {});
    bool handled = false;
    EXPECT_LT(secondsFor([&] { handled = run(30, true); }), 5);
    EXPECT_TRUE(handled);
}

TEST(CFRunLoop, GoesOnAfterOneOtherwise)
{
    drain();
    int fired = 0;
    QTimer::singleShot(10, QCoreApplication::instance(), [&] { ++fired; });
    QTimer::singleShot(60, QCoreApplication::instance(), [&] { ++fired; });
    bool handled = false;
    EXPECT_GE(secondsFor([&] { handled = run(0.2, false); }), 0.2);
    EXPECT_TRUE(handled);
    EXPECT_EQ(fired, 2);
}

TEST(CFRunLoop, NoTimeMeansWhatIsReadyNow)
{
    drain();
    int fired = 0;
    QTimer::singleShot(0, QCoreApplication::instance(), [&] { ++fired; });
    QTimer later;
    later.setSingleShot(true);
    QObject::connect(&later, &QTimer::timeout, [&] { fired += 100; });
    later.start(60000);
    for (const double seconds : {0.0, -1.0, std::nan("")})
        EXPECT_LT(secondsFor([&] { (void)run(seconds, false); }), 5);
    EXPECT_EQ(fired, 1);
}

TEST(CFRunLoop, WaitsNestedInAHandlerWhileTheApplicationQuits)
{
    double took = 0;
    bool fired = false;
    QTimer::singleShot(0, QCoreApplication::instance(), [&] {
        QCoreApplication::quit();
        QTimer::singleShot(50, QCoreApplication::instance(), [&] { fired = true; });
        took = secondsFor([] { (void)run(0.2, false); });
    });
    QCoreApplication::exec();
    EXPECT_GE(took, 0.2);
    EXPECT_TRUE(fired);
}

TEST(CFRunLoop, EndlessWaitEndsWithTheFirstEvent)
{
    drain();
    QTimer::singleShot(20, QCoreApplication::instance(), [] {});
    EXPECT_LT(secondsFor([] { EXPECT_TRUE(run(1e300, true)); }), 5);
}
