// How an opened message ended, as far as the host can know.
#pragma once

#include "TandemService/ExitStatus.h"

#include <string>
#include <string_view>

/// The plug-in does not say how its run ended: it shows an alert, tells the port that the run ended, and ends
/// its message. The host watches these. Its own resource "VelTanRes.aui" holds the two texts that the alert
/// can have, so it knows which one was shown.
struct RunOutcome {
    std::u16string successText; ///< text 622
    bool unattended = false;

    bool alertShown = false;
    bool successShown = false;
    bool progressShown = false; ///< a window with a progress bar was there
    bool endTold = false;       ///< "UEnd" came
    bool relaunchAsked = false; ///< "UQRL" came
    bool confirmed = false;     ///< unattended: the window's offer was taken

    void noteAlert(std::u16string_view text);

    /// What was seen, the first that fits, and what it means:
    /// - a relaunch or the success text: updated
    /// - any other alert: failed
    /// - the end was told after a progress window that a user could cancel: declined
    /// - the end was told otherwise: failed, the first download could not start
    /// - nothing, though an unattended offer was taken: failed, for want of an authorisation
    /// - nothing: declined, the offer or the authorisation
    ExitStatus status() const;
};
