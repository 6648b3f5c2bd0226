#include "Platform/Carbon/EventLoop.h"

#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"

#include <QAbstractEventDispatcher>
#include <QBasicTimer>
#include <QCoreApplication>
#include <QTimerEvent>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <time.h>
#include <vector>

struct OpaqueEventLoopTimerUPP {
    EventLoopTimerProcPtr proc;
};

struct OpaqueEventLoopTimerRef {
    EventLoopTimerProcPtr proc;
    void* userData;
    QBasicTimer timer;
};

struct OpaqueEventLoopRef { };

namespace {

// A delay in whole milliseconds, never shorter than asked for but for the error of the conversion itself.
int millisecondsFrom(EventTimerInterval seconds)
{
    constexpr double kRoundingErrorMs = 1e-6;
    const double milliseconds = std::ceil(seconds * 1000.0 - kRoundingErrorMs);
    return static_cast<int>(std::clamp(milliseconds, 0.0, double(std::numeric_limits<int>::max())));
}

// Owns every installed timer and receives their events. It outlives them all, so that a timer can go while
// its own event is handled; the events of basic timers are never queued, so nothing arrives for a timer that
// is gone.
class Timers : public QObject {
public:
    static Timers& instance()
    {
        // Never destroyed: a timer may still be removed while static objects of a program go.
        static Timers* const timers = new Timers;
        return *timers;
    }

    EventLoopTimerRef add(EventLoopTimerProcPtr proc, void* userData)
    {
        m_timers.push_back(
            std::make_unique<OpaqueEventLoopTimerRef>(OpaqueEventLoopTimerRef {proc, userData, {}}));
        return m_timers.back().get();
    }

    bool holds(EventLoopTimerRef timer) const { return find(timer) != m_timers.end(); }

    void arm(EventLoopTimerRef timer, EventTimerInterval delay)
    {
        if (delay < 0)
            timer->timer.stop();
        else
            timer->timer.start(millisecondsFrom(delay), Qt::PreciseTimer, this);
    }

    void remove(EventLoopTimerRef timer) { m_timers.erase(find(timer)); }

protected:
    void timerEvent(QTimerEvent* event) override
    {
        const auto fired = std::find_if(m_timers.begin(), m_timers.end(),
            [event](const auto& timer) { return timer->timer.timerId() == event->timerId(); });
        if (fired == m_timers.end())
            return;
        OpaqueEventLoopTimerRef* const timer = fired->get();
        timer->timer.stop();
        // The procedure may remove the timer: it is not looked at again after this call.
        timer->proc(timer, timer->userData);
    }

private:
    using List = std::vector<std::unique_ptr<OpaqueEventLoopTimerRef>>;

    List::const_iterator find(EventLoopTimerRef timer) const
    {
        return std::find_if(m_timers.begin(), m_timers.end(),
            [timer](const auto& installed) { return installed.get() == timer; });
    }

    List m_timers;
};

// Ends a wait for events when its time is up.
class WakeUp : public QObject {
public:
    explicit WakeUp(EventTimerInterval seconds)
    {
        if (seconds >= 0)
            m_timer.start(millisecondsFrom(seconds), Qt::PreciseTimer, this);
    }

    bool isOver() const { return m_isOver; }

protected:
    void timerEvent(QTimerEvent*) override
    {
        m_timer.stop();
        m_isOver = true;
    }

private:
    QBasicTimer m_timer;
    bool m_isOver = false;
};

} // namespace

EventLoopRef GetCurrentEventLoop()
{
    static OpaqueEventLoopRef mainLoop;
    return &mainLoop;
}

EventLoopTimerUPP NewEventLoopTimerUPP(EventLoopTimerProcPtr proc)
{
    VELMORA_ASSERT(proc);
    return new OpaqueEventLoopTimerUPP {proc};
}

void DisposeEventLoopTimerUPP(EventLoopTimerUPP upp)
{
    delete upp;
}

OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval fireDelay, EventTimerInterval interval,
    EventLoopTimerUPP upp, void* userData, EventLoopTimerRef* timer)
{
    VELMORA_ASSERT(loop == GetCurrentEventLoop());
    VELMORA_ASSERT(interval == 0);
    VELMORA_ASSERT(upp && timer);
    VELMORA_ASSERT(QCoreApplication::instance());
    if (std::isnan(fireDelay))
        return paramErr;
    *timer = Timers::instance().add(upp->proc, userData);
    Timers::instance().arm(*timer, fireDelay);
    return noErr;
}

OSStatus SetEventLoopTimerNextFireTime(EventLoopTimerRef timer, EventTimerInterval delay)
{
    if (std::isnan(delay) || !Timers::instance().holds(timer))
        return paramErr;
    Timers::instance().arm(timer, delay);
    return noErr;
}

OSStatus RemoveEventLoopTimer(EventLoopTimerRef timer)
{
    if (!Timers::instance().holds(timer))
        return paramErr;
    Timers::instance().remove(timer);
    return noErr;
}

OSStatus ReceiveNextEvent(EventTimerInterval seconds)
{
    // The dispatcher itself is asked: a nested event loop would return at once after the application was told
    // to quit.
    QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
    VELMORA_ASSERT(dispatcher);
    if (dispatcher->processEvents(QEventLoop::AllEvents))
        return noErr;
    if (seconds == 0)
        return eventLoopTimedOutErr;
    const WakeUp wakeUp(seconds);
    bool came = false;
    while (!came && !wakeUp.isOver())
        came = dispatcher->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    return wakeUp.isOver() ? eventLoopTimedOutErr : noErr;
}

void QuitApplicationEventLoop()
{
    // Not quit(): that asks the windows first, and one of them could refuse.
    QCoreApplication::exit(0);
}

UInt32 TickCount()
{
    constexpr UInt64 kTicksPerSecond = 60;
    constexpr UInt64 kNanosecondsPerSecond = 1'000'000'000;
    timespec now {};
    const int result = clock_gettime(CLOCK_MONOTONIC, &now);
    VELMORA_ASSERT(result == 0);
    const UInt64 seconds = static_cast<UInt64>(now.tv_sec);
    const UInt64 fraction = static_cast<UInt64>(now.tv_nsec) * kTicksPerSecond / kNanosecondsPerSecond;
    return static_cast<UInt32>(seconds * kTicksPerSecond + fraction);
}
