// The selection window's life: its controls, its size line and its answer.
#include "Update/ui/AuProductsWind.h"

#include "Platform/Support/ErrorNumbers.h"
#include "Update/collect/PListParse.h"
#include "Update/descriptor/FileSec.h"
#include "Update/ui/CheckIcons.h"
#include "Update/ui/SizeLine.h"

#include <functional>

namespace {

PAuProductsWind* windowFrom(const void* userData)
{
    return static_cast<PAuProductsWind*>(const_cast<void*>(userData)); // given as ours in InstallUserInfoUI
}

} // namespace

bool InCollectionOrder::operator()(const CPListParse* a, const CPListParse* b) const
{
    if (!a || !b)
        return !a && b;
    if (a->collectionIndex() != b->collectionIndex())
        return a->collectionIndex() < b->collectionIndex();
    return std::less<>()(a, b);
}

PAuProductsWind::PAuProductsWind(IProductsResponse& response)
    : m_response(response)
    , m_icons(loadCheckIcons())
{
}

PAuProductsWind::~PAuProductsWind()
{
    // While the tree still shows the icons it must not outlive them.
    Dispose();
    releaseCheckIcons(m_icons);
}

int PAuProductsWind::ShowWnd(const PubLumen::LumFileManager* files, std::vector<CFileSec*>* mandatoryCommon,
    std::vector<CFileSec*>* optionalCommon, ProductFiles* products)
{
    m_mandatoryCommon = mandatoryCommon;
    m_optionalCommon = optionalCommon;
    m_products = products;
    return Show(u"Au_products.aui", files, false);
}

void PAuProductsWind::InstallUserInfoUI(PubLumen::LumPanel* panel)
{
    PLumenWind::InstallUserInfoUI(panel);
    constexpr EventTypeSpec kRawKeyDown {kEventClassKeyboard, kEventRawKeyDown};
    (void)InstallWindowEventHandler(
        m_window, &MyDocWndEventHandler, 1, &kRawKeyDown, this, nullptr); // cannot fail
    if (PubLumen::LumButton* later = panel->FindButton(u"butn_Later"))
        later->SetProc(&DUButtonCancelProc, this);
    if (PubLumen::LumButton* ok = panel->FindButton(u"butn_OK"))
        ok->SetProc(&DUButtonOKProc, this);
    m_labelTemplate.clear();
    if (const PubLumen::LumStatic* line = panel->FindStatic(u"view11"))
        line->CopyText(m_labelTemplate);
    if (PubLumen::LumTree* tree = panel->FindTree(u"trev1")) {
        tree->SetIcons(m_icons);
        tree->SetProc(&TreeCtrlProc, this);
        buildTree(*tree);
    }
    ChangePaneInfo();
}

void PAuProductsWind::ChangePaneInfo()
{
    if (!m_panel)
        return;
    const auto sizeBytes = static_cast<UInt32>(NeedDiskSpace());
    if (PubLumen::LumButton* ok = m_panel->FindButton(u"butn_OK"))
        ok->SetEnabled(sizeBytes != 0);
    if (PubLumen::LumStatic* line = m_panel->FindStatic(u"view11"))
        line->SetText(sizeLine(m_labelTemplate, sizeBytes));
}

SInt32 PAuProductsWind::NeedDiskSpace()
{
    std::vector<CFileSec*> files;
    CalcNeedUpdateFiles(files);
    // Sizes are data from the server: their sum may wrap around, but not be undefined.
    UInt32 sum = 0;
    for (const CFileSec* file : files)
        if (file)
            sum += static_cast<UInt32>(file->size());
    return static_cast<SInt32>(sum);
}

SInt32 PAuProductsWind::DUButtonOKProc(const void*, SInt32 message, const void*, const void* userData)
{
    PAuProductsWind* window = windowFrom(userData);
    if (message == kLumMsgButtonPress && window)
        window->confirm();
    return 0;
}

SInt32 PAuProductsWind::DUButtonCancelProc(const void*, SInt32 message, const void*, const void* userData)
{
    PAuProductsWind* window = windowFrom(userData);
    if (message == kLumMsgButtonPress && window)
        window->decline();
    return 0;
}

OSStatus PAuProductsWind::MyDocWndEventHandler(EventHandlerCallRef, EventRef event, void* userData)
{
    PAuProductsWind* window = windowFrom(userData);
    char key = 0;
    const OSStatus status
        = GetEventParameter(event, kEventParamKeyMacCharCodes, typeChar, nullptr, sizeof key, nullptr, &key);
    if (status != noErr || !window)
        return eventNotHandledErr;
    // The keys act even while the OK button is disabled; the controller takes an empty choice as a refusal.
    if (key == kReturnCharCode || key == kEnterCharCode)
        window->confirm();
    else if (key == kEscapeCharCode)
        window->decline();
    return eventNotHandledErr;
}

/// A window that was answered already, by a key in the same moment as a click, is not answered again.
void PAuProductsWind::confirm()
{
    if (!m_window)
        return;
    std::vector<CFileSec*> files;
    CalcNeedUpdateFiles(files);
    Dispose();
    m_response.SelectProductsResponse(&files);
}

void PAuProductsWind::decline()
{
    if (!m_window)
        return;
    Dispose();
    m_response.SelectProductsResponse(nullptr);
}
