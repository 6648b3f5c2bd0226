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

    /// - A relaunch or the success text: updated.
    /// - Any other alert: failed.
    /// - No alert but the end was told: the user cancelled in the progress window, or, where there never was
    /// one or there is no user, the
    ///   first download could not start: failed.
    /// - Nothing at all: the user declined the window's offer or refused the authorisation; without a user
    /// whose offer was taken: the
    ///   authorisation failed.
    ExitStatus status() const;
};
