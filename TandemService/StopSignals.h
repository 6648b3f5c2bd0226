// SIGTERM and SIGINT as events of the application.
#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

/// Calls back, in the event loop, when the process was asked to end; the signals' former handling is back
/// when it goes. One at a time.
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
