// The widget behind a window reference, for the toolkit that fills it.
#pragma once

#include "Platform/Carbon/WindowEvents.h"

#include <QPoint>
#include <QWidget>

#include <functional>
#include <optional>

struct OpaqueRgn {
    Rect rect;
};

struct OpaqueEventRef {
    char character = 0;
};

struct OpaqueWindowPtr final : QWidget {
    OpaqueWindowPtr(WindowDefProcPtr defProc, WindowClass windowClass);

    /// Asks the definition procedure and keeps what it says.
    void readFeatures();
    void setBounds(const Rect& bounds);
    Rect bounds() const;
    /// From now on no handler is called any more.
    void forgetHandlers();

    EventHandlerUPP keyHandler = nullptr;
    void* keyUserData = nullptr;
    /// What the window manager's close does. Without one the window is just hidden.
    std::function<void()> closeAction;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void checkRegion(WindowRegionCode code);
    bool takesKey(char character);

    WindowDefProcPtr m_defProc;
    UInt32 m_features = 0;
    std::optional<QPoint>
        m_dragOffset; ///< from the window's corner to the pointer, while we move it ourselves
};
