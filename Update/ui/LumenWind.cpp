#include "Update/ui/LumenWind.h"

#include "Platform/Carbon/Gestalt.h"
#include "Platform/Lumen/LumSurface.h"
#include "Platform/Support/ErrorNumbers.h"

namespace {

/// The first system version that composites windows.
constexpr SInt32 kCompositingSystemVersion = 0x1030;
/// Where a window is until its content's size is known.
constexpr Rect kFirstBounds {100, 100, 200, 200};
/// The features that the window tells of: it can be zoomed and collapsed, gives its region, and is drawn by
/// its program.
constexpr UInt32 kWindowFeatures = 0x40000016;

SInt32 fillRegion(WindowRef window, const GetWindowRegionRec& record)
{
    if (record.regionCode != kWindowStructureRgn && record.regionCode != kWindowContentRgn)
        return noErr;
    Rect bounds;
    // The bounds of a living window are always known.
    (void)GetWindowBounds(window, kWindowContentRgn, &bounds);
    RectRgn(record.winRgn, &bounds);
    return noErr;
}

} // namespace

SInt32 PLumenWind::sysVer = 0;

SInt32 MyWindowDef(SInt16, WindowRef window, SInt16 message, std::intptr_t param)
{
    switch (message) {
    case kWindowMsgGetFeatures:
        *reinterpret_cast<UInt32*>(param) = kWindowFeatures;
        return 1;
    case kWindowMsgHitTest:
        return kWindowPartContent;
    case kWindowMsgGetRegion:
        return fillRegion(window, *reinterpret_cast<GetWindowRegionRec*>(param));
    default:
        return 0;
    }
}

PLumenWind::~PLumenWind()
{
    Dispose();
}

void PLumenWind::InstallUserInfoUI(PubLumen::LumPanel*) { }

bool PLumenWind::Show(std::u16string_view layoutName, const PubLumen::LumFileManager* files, bool modal)
{
    if (!m_window)
        create(layoutName, files, modal);
    if (m_window)
        BringToFront(m_window);
    return true;
}

void PLumenWind::create(std::u16string_view layoutName, const PubLumen::LumFileManager* files, bool modal)
{
    if (sysVer == 0)
        (void)Gestalt(gestaltSystemVersion, &sysVer); // always answered
    WindowAttributes attributes = kWindowStandardHandlerAttribute;
    if (sysVer >= kCompositingSystemVersion)
        attributes |= kWindowCompositingAttribute;
    const WindowDefSpec def {kWindowDefProcPtr, &MyWindowDef};
    const WindowClass windowClass = modal ? kModalWindowClass : kDocumentWindowClass;
    if (CreateCustomWindow(&def, windowClass, attributes, &kFirstBounds, &m_window) != noErr)
        return;
    LumSurface* surface = Lum0SMCreateSurfaceW(Lum0SMGetSurfaceManage(), m_window, layoutName, files);
    if (surface) {
        HideWindow(m_window);
        fitToPanel(*Lum0SurfaceGetRootPanel(surface));
    }
    Lum0Release(surface);
    // Where there is no screen, it stays where it is.
    (void)RepositionWindow(m_window, nullptr, kWindowCenterOnMainScreen);
    SelectWindow(m_window);
    ShowWindow(m_window);
}

void PLumenWind::fitToPanel(PubLumen::LumPanel& panel)
{
    const PubLumen::LumSize size = panel.GetSize();
    const Rect bounds {0, 0, static_cast<SInt16>(size.height), static_cast<SInt16>(size.width)};
    (void)SetWindowBounds(m_window, kWindowContentRgn, &bounds); // the size is within the screen's
    m_panel = &panel;
    InstallUserInfoUI(m_panel);
}

void PLumenWind::Dispose()
{
    if (!m_window)
        return;
    Lum0SMDetachSurface(Lum0SMGetSurfaceManage(), m_window);
    DisposeWindow(m_window);
    m_window = nullptr;
    m_panel = nullptr;
}
