#include "TandemService/RunOutcome.h"

void RunOutcome::noteAlert(std::u16string_view text)
{
    alertShown = true;
    successShown = successShown || (!successText.empty() && text == successText);
}

ExitStatus RunOutcome::status() const
{
    if (relaunchAsked || successShown)
        return ExitStatus::done;
    if (alertShown)
        return ExitStatus::failed;
    if (endTold)
        return progressShown && !unattended ? ExitStatus::declined : ExitStatus::failed;
    return confirmed ? ExitStatus::failed : ExitStatus::declined;
}
