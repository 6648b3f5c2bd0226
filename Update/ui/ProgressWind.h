// The progress window: a line, a bar and a cancel button.
#pragma once

#include "Platform/Support/UniText.h"
#include "Update/ui/LumenWind.h"

class PProgressWind : public PLumenWind {
public:
    /// Shows the window anew, with the download layout when `downloading` is not 0, else with the install
    /// layout; forgets an earlier cancel. 1 when it was shown.
    int ShowWnd(const PubLumen::LumFileManager* files, int downloading);
    /// Shows `percent`, held at most at 100, in line and bar; nothing without a window.
    void SetProgressPercent(SInt32 percent);
    /// True once the user pressed cancel, until the next ShowWnd.
    bool isCancelled() const { return m_cancelled != 0; }

    void InstallUserInfoUI(PubLumen::LumPanel* panel) override;
    static SInt32 DUButtonCancelProc(
        const void* control, SInt32 message, const void* parameter, const void* userData);

private:
    void showLine(SInt32 percent);

    SInt32 m_cancelled = 0;
    WideText m_lineTemplate;
};
