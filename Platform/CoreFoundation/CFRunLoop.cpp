// The run loop of the main thread, on the application's event dispatcher.
#include "Platform/CoreFoundation/CFRunLoop.h"

#include "Platform/CoreFoundation/CFRuntime.h"
#include "Platform/Support/Assertion.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <cmath>

struct __CFRunLoop final : CFObject {
    __CFRunLoop()
        : CFObject(kCFRuntimeRunLoop)
    {
    }
};

namespace {

using Clock = std::chrono::steady_clock;

/// The longest single wait; a longer one is made of several.
constexpr double kMaxSliceMilliseconds = 60.0 * 60.0 * 1000.0;

bool isMainThread()
{
    const QCoreApplication* application = QCoreApplication::instance();
    return application && application->thread() == QThread::currentThread();
}

/// Waits for events at most `milliseconds` and processes them. Returns true when there was one besides the
/// end of the wait.
bool waitForEvents(QAbstractEventDispatcher& dispatcher, int milliseconds)
{
    QTimer end;
    end.setSingleShot(true);
    end.setTimerType(Qt::PreciseTimer);
    end.start(milliseconds);
    const bool processed = dispatcher.processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    return processed && end.isActive();
}

} // namespace

CFRunLoopRef CFRunLoopGetCurrent()
{
    VELMORA_ASSERT(isMainThread());
    static const CFRunLoopRef kMainLoop = new __CFRunLoop;
    return kMainLoop;
}

bool CFRunLoopRunInMode(CFRunLoopMode, double seconds, bool returnAfterOne)
{
    VELMORA_ASSERT(isMainThread());
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    VELMORA_ASSERT(dispatcher != nullptr);

    // A nested QEventLoop would return at once after quit(): the dispatcher itself is pumped instead.
    if (!(seconds > 0))
        return dispatcher->processEvents(QEventLoop::AllEvents);
    const Clock::time_point start = Clock::now();
    bool handled = false;
    for (;;) {
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        const double leftMilliseconds = std::ceil((seconds - elapsed.count()) * 1000.0);
        if (!(leftMilliseconds > 0))
            return handled;
        const int slice = static_cast<int>(std::fmin(leftMilliseconds, kMaxSliceMilliseconds));
        if (waitForEvents(*dispatcher, slice))
            handled = true;
        if (handled && returnAfterOne)
            return true;
    }
}
