// Where the host's windows can be shown.
#pragma once

#include "TandemService/CommandLine.h"

#include <QByteArray>

/// Chooses Qt's platform before the application object is made: the one that QT_QPA_PLATFORM names, or a
/// display server where there is one; off-screen where that does not work. A check needs no windows and goes
/// off-screen at once.
class DisplayChoice {
public:
    explicit DisplayChoice(const HostOptions& options);

    /// Takes the choice out of the environment again, once the application object is there: programs that
    /// this one starts choose for themselves.
    void leaveEnvironment() const;
    /// Drops the off-screen platform's remarks about what it does not support.
    static void quietenOffscreen();
    /// True when a user can see and answer windows, or the off-screen platform was named on purpose.
    bool canShowWindows() const;

private:
    QByteArray m_named; ///< the variable's own value
    bool m_isNamed;
};
