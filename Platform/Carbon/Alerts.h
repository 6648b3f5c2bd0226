// Standard alerts.
#pragma once

#include "Platform/CoreFoundation/CFString.h"

#include <functional>
#include <string_view>

using DialogRef = struct OpaqueDialogPtr*;
using AlertType = SInt16;
enum : AlertType { kAlertStopAlert = 0 };

/// The alert's buttons and their defaults.
struct AlertStdCFStringAlertParamRec {
    UInt32 version = 0;                ///< must be kStdCFStringAlertVersionOne
    Boolean movable = 0;               ///< must be 0; on Linux the desktop lets the user move any window
    Boolean helpButton = 0;            ///< must be 0
    CFStringRef defaultText = nullptr; ///< must be kAlertDefaultOKText: the standard label
    CFStringRef cancelText = nullptr;  ///< must be null
    CFStringRef otherText = nullptr;   ///< must be null
    SInt16 defaultButton = 0;          ///< must be kAlertStdAlertOKButton
    SInt16 cancelButton = 0;           ///< must be 0
    UInt16 position = 0;               ///< must be kWindowDefaultPosition: centred on the screen
    UInt32 flags = 0;                  ///< must be 0
};
enum : UInt32 { kStdCFStringAlertVersionOne = 1 };
enum : SInt16 { kAlertStdAlertOKButton = 1 };
enum : UInt16 { kWindowDefaultPosition = 0 };
/// The standard label of the default button.
extern const CFStringRef kAlertDefaultOKText;

/// Makes an alert with an error icon, a message and no explanation (`explanation` must be null).
/// RunStandardAlert disposes it.
OSStatus CreateStandardAlert(AlertType type, CFStringRef message, CFStringRef explanation,
    const AlertStdCFStringAlertParamRec* parameters, DialogRef* alert);
/// Sets the alert's window title; without one it has none.
OSStatus SetAlertTitle(DialogRef alert, CFStringRef title);
/// Shows the alert, waits with events for its button (Return and Escape press it, closing the window does
/// too), and disposes it; other windows of the program take no input meanwhile. In unattended mode the line
/// "TITLE: TEXT" is printed to standard output instead, line breaks within it as blanks, and the default
/// button is taken at once. *itemHit (may be null) is the button.
OSStatus RunStandardAlert(DialogRef alert, SInt16* itemHit);

/// Unattended mode: alerts are printed and answered with their default button. Off at the start.
void SetAlertsUnattended(bool unattended);

/// Is told each alert's message before the alert is shown or printed; an empty one ends that.
using AlertListener = std::function<void(std::u16string_view message)>;
void SetAlertListener(AlertListener listener);
