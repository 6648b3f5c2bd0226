// The stop alert.
#include "Platform/Carbon/Alerts.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Update/UpdateInter.h"

void MyMessageBox(const UniChar* text)
{
    const CFRef message = adoptCF(CFStringCreateWithView(text ? text : u""));
    AlertStdCFStringAlertParamRec parameters;
    parameters.version = kStdCFStringAlertVersionOne;
    parameters.movable = 0;
    parameters.helpButton = 0;
    parameters.defaultText = kAlertDefaultOKText;
    parameters.cancelText = nullptr;
    parameters.otherText = nullptr;
    parameters.defaultButton = kAlertStdAlertOKButton;
    parameters.cancelButton = 0;
    parameters.position = kWindowDefaultPosition;
    parameters.flags = 0;
    DialogRef alert = nullptr;
    if (CreateStandardAlert(kAlertStopAlert, message, nullptr, &parameters, &alert) != noErr)
        return;
    const CFRef title = adoptCF(CFStringCreateWithView(kHostProductName));
    (void)SetAlertTitle(alert, title); // an alert without its title still says what it has to say
    SInt16 item = 0;
    (void)RunStandardAlert(alert, &item); // there is one button: whatever was pressed, the text was seen
}
