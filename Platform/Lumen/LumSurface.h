// Surfaces: what fills a window from a layout resource, a Designer form.
//
// Dynamic properties of the form that mean something here: "closeButton" on the form names the button that
// the window manager's close presses; "fontPercent" on a label scales its text; "checkedText",
// "uncheckedText" and "fixedText" on a tree word an item's state for screen readers, with %1 for the item's
// text. The form's window title is the window's.
#pragma once

#include "Platform/Carbon/Windows.h"

#include <string_view>

namespace PubLumen {
class LumFileManager;
class LumPanel;
} // namespace PubLumen

/// One window's content. Counted: the manager holds it while it is attached, whoever created it until he
/// calls Lum0Release.
struct LumSurface;
struct LumSurfaceManager;

/// The one manager. Never null.
LumSurfaceManager* Lum0SMGetSurfaceManage();
/// Builds the content of a window that has none from the layout `layoutName`. Null when there is no file
/// manager, or the layout does not exist, is no well-formed form or has more than 1 MiB. The caller releases
/// the surface.
LumSurface* Lum0SMCreateSurfaceW(LumSurfaceManager* manager, WindowRef window, std::u16string_view layoutName,
    const PubLumen::LumFileManager* files);
/// The whole content; owned by the window.
PubLumen::LumPanel* Lum0SurfaceGetRootPanel(LumSurface* surface);
/// Ends a window's content: no procedure of its controls is called any more. Nothing happens for a window
/// without.
void Lum0SMDetachSurface(LumSurfaceManager* manager, WindowRef window);
/// Gives up one reference; null is allowed.
void Lum0Release(LumSurface* surface);
