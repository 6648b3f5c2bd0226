// What the host's exit status says.
#pragma once

/// For --check: 0 something to offer, 1 nothing, 2 the check could not run. For --update the whole list. A
/// resident host ends with 0, or with 2 when it could not start.
enum class ExitStatus : int {
    done = 0, ///< updated, or something to offer
    nothingToOffer = 1,
    couldNotRun = 2, ///< wrong arguments; no plug-in, display or port; a message that cannot be opened
    declined = 3,    ///< the user declined or cancelled
    failed = 4,
};
