// The base of the plug-in's windows.
#pragma once

#include "Platform/Lumen/LumResource.h"

#include <string_view>

using WindowRef = struct OpaqueWindowPtr*;
namespace PubLumen {
class LumPanel;
}

class PLumenWind {
public:
    PLumenWind() = default;
    virtual ~PLumenWind();
    /// Wires up the controls of a panel that has just been made. The base does nothing.
    virtual void InstallUserInfoUI(PubLumen::LumPanel* panel);
    PLumenWind(const PLumenWind&) = delete;
    PLumenWind& operator=(const PLumenWind&) = delete;

    /// Makes and shows the window from the layout `layoutName` when there is none, and brings it to the front; always true. A layout that
    /// cannot be loaded gives a window without content.
    bool Show(std::u16string_view layoutName, const PubLumen::LumFileManager* files, bool modal);
    /// Closes the window if there is one.
    void Dispose();
    /// True while there is a window.
    bool isShown() const { return m_window != nullptr; }

protected:
    WindowRef m_window = nullptr;
    PubLumen::LumPanel* m_panel = nullptr; ///< owned by the window
};
