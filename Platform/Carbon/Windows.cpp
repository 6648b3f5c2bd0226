#include "Platform/Carbon/WindowsInternal.h"

#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"

#include <QGuiApplication>
#include <QScreen>

void RectRgn(RgnHandle region, const Rect* rect)
{
    VELMORA_ASSERT(region && rect);
    region->rect = *rect;
}

OSStatus CreateCustomWindow(const WindowDefSpec* def, WindowClass windowClass, WindowAttributes attributes,
    const Rect* bounds, WindowRef* window)
{
    constexpr WindowAttributes kSupported = kWindowCompositingAttribute | kWindowStandardHandlerAttribute;
    VELMORA_ASSERT(def && def->defType == kWindowDefProcPtr && def->defProc && bounds && window);
    VELMORA_ASSERT(windowClass == kModalWindowClass || windowClass == kDocumentWindowClass);
    VELMORA_ASSERT((attributes & ~kSupported) == 0);
    auto* made = new OpaqueWindowPtr(def->defProc, windowClass);
    made->readFeatures();
    made->setBounds(*bounds);
    *window = made;
    return noErr;
}

void DisposeWindow(WindowRef window)
{
    VELMORA_ASSERT(window);
    window->forgetHandlers();
    window->hide();
    // An event of the window may be on the stack: it ends before the window does.
    window->deleteLater();
}

OSStatus GetWindowBounds(WindowRef window, WindowRegionCode region, Rect* bounds)
{
    VELMORA_ASSERT(window && region == kWindowContentRgn && bounds);
    *bounds = window->bounds();
    return noErr;
}

OSStatus SetWindowBounds(WindowRef window, WindowRegionCode region, const Rect* bounds)
{
    VELMORA_ASSERT(window && region == kWindowContentRgn && bounds);
    window->setBounds(*bounds);
    return noErr;
}

OSStatus RepositionWindow(WindowRef window, WindowRef parent, WindowPositionMethod method)
{
    VELMORA_ASSERT(window && !parent && method == kWindowCenterOnMainScreen);
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return noErr;
    const QRect area = screen->availableGeometry();
    const QPoint corner = area.center() - QPoint((window->width() - 1) / 2, (window->height() - 1) / 2);
    // A window that is larger than the screen begins where the screen does.
    window->move(std::max(corner.x(), area.left()), std::max(corner.y(), area.top()));
    return noErr;
}

void SelectWindow(WindowRef window)
{
    VELMORA_ASSERT(window);
    window->raise();
    window->activateWindow();
}

void ShowWindow(WindowRef window)
{
    VELMORA_ASSERT(window);
    window->show();
    SelectWindow(window);
}

void HideWindow(WindowRef window)
{
    VELMORA_ASSERT(window);
    window->hide();
}

void BringToFront(WindowRef window)
{
    VELMORA_ASSERT(window);
    window->raise();
}
