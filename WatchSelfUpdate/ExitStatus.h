// What the tool ends with; the values are those of sysexits(3).
#pragma once

enum class ExitStatus : int {
    Ok = 0,
    Usage = 64,        ///< the command line is none of those that the tool knows
    Refused = 65,      ///< a file is not what the tool may work on
    NoMarker = 66,     ///< nobody left a hand-over to do
    SystemError = 71,  ///< a system call failed
    NotPermitted = 77, ///< the tool does not run as root
};
