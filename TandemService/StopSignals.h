// SIGTERM, SIGINT and SIGHUP as events of the application.
#pragma once

#include "TandemService/ExitStatus.h"

#include <functional>
#include <memory>

class QSocketNotifier;

/// Calls back, in the event loop, when the process was asked to end; the signals' former handling is back
/// when it goes. A signal that is ignored from the start (nohup, a shell's background job) stays ignored. One
/// at a time.
class StopSignals {
public:
    explicit StopSignals(std::function<void()> onStop);
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

private:
    std::function<void()> m_onStop;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

/// Work that keeps the event loop waiting, and that may be cut short anywhere since it leaves nothing half
/// done. As long as it lasts, a process that is asked to end ends with `status` when the event loop has not
/// had its turn within kStopPatienceSeconds. One at a time.
class InterruptibleWork {
public:
    explicit InterruptibleWork(ExitStatus status);
    ~InterruptibleWork();
    InterruptibleWork(const InterruptibleWork&) = delete;
    InterruptibleWork& operator=(const InterruptibleWork&) = delete;
};

inline constexpr unsigned kStopPatienceSeconds = 2;
