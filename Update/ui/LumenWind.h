// The base of the plug-in's windows.
#pragma once

#include "Platform/Carbon/Windows.h"
#include "Platform/Lumen/LumPanel.h"
#include "Platform/Lumen/LumResource.h"

#include <string_view>

/// The definition procedure of the plug-in's windows: the toolkit draws them, every point of them is content,
/// and their regions are their bounds.
SInt32 MyWindowDef(SInt16 varCode, WindowRef window, SInt16 message, std::intptr_t param);

class PLumenWind {
public:
    PLumenWind() = default;
    virtual ~PLumenWind();
    /// Wires up the controls of a panel that has just been made. The base does nothing.
    virtual void InstallUserInfoUI(PubLumen::LumPanel* panel);
    PLumenWind(const PLumenWind&) = delete;
    PLumenWind& operator=(const PLumenWind&) = delete;

    /// Makes and shows the window from the layout `layoutName` when there is none, and brings it to the
    /// front; always true. A layout that cannot be loaded gives a window without content.
    bool Show(std::u16string_view layoutName, const PubLumen::LumFileManager* files, bool modal);
    /// Closes the window if there is one. Allowed in a procedure of the window's own controls.
    void Dispose();
    /// True while there is a window.
    bool isShown() const { return m_window != nullptr; }

    /// The operating system's version, read once and kept; 0 before the first window.
    static SInt32 sysVer;

protected:
    WindowRef m_window = nullptr;
    PubLumen::LumPanel* m_panel = nullptr; ///< owned by the window

private:
    void create(std::u16string_view layoutName, const PubLumen::LumFileManager* files, bool modal);
    void fitToPanel(PubLumen::LumPanel& panel);
};
