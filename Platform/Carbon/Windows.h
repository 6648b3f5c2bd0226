// Windows that their program draws itself: made, placed, shown and disposed.
#pragma once

#include "Platform/Support/Types.h"

#include <cstdint>

/// A top-level window without a frame.
using WindowRef = struct OpaqueWindowPtr*;

/// In pixels that do not depend on the screen's scale; `bottom` and `right` lie just outside.
struct Rect {
    SInt16 top = 0;
    SInt16 left = 0;
    SInt16 bottom = 0;
    SInt16 right = 0;
    friend bool operator==(const Rect&, const Rect&) = default;
};

/// A region to be filled by a definition procedure: here always one rectangle.
using RgnHandle = struct OpaqueRgn*;
/// Makes the region that rectangle.
void RectRgn(RgnHandle region, const Rect* rect);

using WindowClass = UInt32;
enum : WindowClass { kModalWindowClass = 3, kDocumentWindowClass = 6 };
using WindowAttributes = UInt32;
enum : WindowAttributes {
    kWindowCompositingAttribute = 1U << 19,     ///< every window is composited here
    kWindowStandardHandlerAttribute = 1U << 25, ///< every window has the standard handler here
};

/// What a definition procedure is asked.
enum : SInt16 {
    kWindowMsgHitTest = 1, ///< `param`: the point, vertical in the high 16 bits; answers the part, 0 for none
    kWindowMsgGetFeatures = 7, ///< `param`: UInt32* that takes the feature bits; answers 1
    kWindowMsgGetRegion = 8,   ///< `param`: GetWindowRegionRec*; answers noErr
};
/// The parts of a window that are told apart.
enum : SInt32 { kWindowPartNone = 0, kWindowPartContent = 1 };
/// The features that make a difference here.
enum : UInt32 { kWindowCanGrow = 1U << 0, kWindowCanGetWindowRegion = 1U << 4 };

using WindowRegionCode = UInt16;
enum : WindowRegionCode { kWindowStructureRgn = 32, kWindowContentRgn = 33 };
struct GetWindowRegionRec {
    RgnHandle winRgn = nullptr;
    WindowRegionCode regionCode = kWindowStructureRgn;
};

/// Answers what the layer asks about a custom window; `varCode` is 0.
using WindowDefProcPtr = SInt32 (*)(SInt16 varCode, WindowRef window, SInt16 message, std::intptr_t param);
enum : SInt16 { kWindowDefProcPtr = 0 };
struct WindowDefSpec {
    SInt16 defType = kWindowDefProcPtr; ///< must be kWindowDefProcPtr
    WindowDefProcPtr defProc = nullptr;
};

/// Makes a hidden window. Its procedure is asked for its features at once, for its regions whenever its
/// bounds change, and for the part under a press of the mouse that no control took: in the content, such a
/// press drags the window. A modal window holds off the application's others. The caller ends it with
/// DisposeWindow.
OSStatus CreateCustomWindow(const WindowDefSpec* def, WindowClass windowClass, WindowAttributes attributes,
    const Rect* bounds, WindowRef* window);
/// Closes the window at once and frees it when control is back in the event loop; allowed in an event of the
/// window's own.
void DisposeWindow(WindowRef window);

/// The bounds on the screen; `region` must be kWindowContentRgn.
OSStatus GetWindowBounds(WindowRef window, WindowRegionCode region, Rect* bounds);
/// Moves and sizes the window; `region` must be kWindowContentRgn. Without kWindowCanGrow the user cannot
/// change the size.
OSStatus SetWindowBounds(WindowRef window, WindowRegionCode region, const Rect* bounds);

using WindowPositionMethod = UInt32;
enum : WindowPositionMethod { kWindowCenterOnMainScreen = 1 };
/// Moves the window; `parent` must be null and `method` kWindowCenterOnMainScreen.
OSStatus RepositionWindow(WindowRef window, WindowRef parent, WindowPositionMethod method);

/// Makes the window the active one, now or, while it is hidden, as soon as it is shown.
void SelectWindow(WindowRef window);
void ShowWindow(WindowRef window);
void HideWindow(WindowRef window);
/// Puts the window before the application's others.
void BringToFront(WindowRef window);
