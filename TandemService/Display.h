// Where the host's windows can be shown.
#pragma once

#include "TandemService/CommandLine.h"

/// Chooses Qt's platform before the application object is made, unless QT_QPA_PLATFORM names one: a display
/// server where there is one, otherwise off-screen. A check needs no windows and goes off-screen at once.
class DisplayChoice {
public:
    explicit DisplayChoice(const HostOptions& options);

    /// Takes the choice out of the environment again, once the application object is there: programs that
    /// this one starts choose for themselves.
    void leaveEnvironment() const;
    /// Drops the off-screen platform's remarks about what it does not support.
    static void quietenOffscreen();
    /// True when a user can see and answer windows, or a platform was named on purpose.
    bool canShowWindows() const;

private:
    bool m_chosenHere;
    bool m_anyDisplay;
};
