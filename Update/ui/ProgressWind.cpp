#include "Update/ui/ProgressWind.h"

#include "Platform/Support/UniFormat.h"

#include <algorithm>

namespace {

constexpr SInt32 kMaxPercent = 100;

} // namespace

int PProgressWind::ShowWnd(const PubLumen::LumFileManager* files, int downloading)
{
    Dispose();
    m_cancelled = 0;
    return Show(downloading ? u"Mac_download_dlg.aui" : u"Au_processing.aui", files, false);
}

void PProgressWind::InstallUserInfoUI(PubLumen::LumPanel* panel)
{
    PLumenWind::InstallUserInfoUI(panel);
    if (PubLumen::LumButton* cancel = panel->FindButton(u"butn_cancel"))
        cancel->SetProc(&DUButtonCancelProc, this);
    m_lineTemplate.clear();
    if (const PubLumen::LumStatic* line = panel->FindStatic(u"view11"))
        line->CopyText(m_lineTemplate);
    showLine(0);
    if (PubLumen::LumBar* bar = panel->FindBar(u"hscrl_process"))
        bar->Configure(0, kMaxPercent, 0, 1);
}

void PProgressWind::SetProgressPercent(SInt32 percent)
{
    if (!m_window || !m_panel)
        return;
    const SInt32 shown = std::min(percent, kMaxPercent);
    showLine(shown);
    if (PubLumen::LumBar* bar = m_panel->FindBar(u"hscrl_process"))
        bar->SetValue(shown);
}

void PProgressWind::showLine(SInt32 percent)
{
    if (PubLumen::LumStatic* line = m_panel->FindStatic(u"view11"))
        line->SetText(formatText(m_lineTemplate, {SInt64 {percent}}));
}

SInt32 PProgressWind::DUButtonCancelProc(const void*, SInt32 message, const void*, const void* userData)
{
    auto* window
        = static_cast<PProgressWind*>(const_cast<void*>(userData)); // given as ours in InstallUserInfoUI
    if (message != kLumMsgButtonPress || !window)
        return 0;
    window->Dispose();
    window->m_cancelled = 1;
    return 0;
}
