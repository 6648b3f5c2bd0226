// How an install ended: a number for programs and a sentence for people.
#pragma once

#include <cstdint>
#include <string>

/// The numbers are the exit statuses of the program `installer` and the replies of the setup port; they stay
/// below 100, clear of what a shell and pkexec use.
enum class InstallError : int {
    none = 0,
    usage = 1,          ///< the command line is not understood
    packageMissing = 2, ///< nothing that can be read is at the package's path
    packageKind = 3,    ///< neither a bundle package nor a flat package
    packageDamaged = 4, ///< the reader stumbled: damaged header, wrong checksum, short stream, malformed name
    packageUnsafe = 5,  ///< a member points outside the target folder or is a device, FIFO or socket
    packageTooLarge = 6,   ///< past one of the bounds in InstallLimits
    packageEmpty = 7,      ///< the payload holds nothing to install
    targetMissing = 8,     ///< the target is no existing folder
    targetNotWritable = 9, ///< this user may not change the target folder or what is to be replaced in it
    targetBusy = 10,       ///< another installer works on the same target folder
    noSpace = 11,          ///< the file system is full
    swapFailed = 12,       ///< the new contents could not be put in place; the old ones are back
    recoveryFailed = 13,   ///< an interrupted install could neither be put back nor completed
    system = 14,           ///< any other failure of the operating system
};

struct InstallResult {
    InstallError error = InstallError::none;
    std::string text; ///< one line without a newline; empty on success

    bool ok() const { return error == InstallError::none; }
};

/// "TEXT: STRERROR", with errno values that say more under their own number (full disk, missing rights).
InstallResult systemFailure(
    const std::string& text, int posixError, InstallError otherwise = InstallError::system);
