// The windows that are on the screen, for tests that click and type in them.
#pragma once

#include <QApplication>
#include <QPointer>
#include <QTest>
#include <QWidget>

#include <vector>

namespace windows {

/// The visible top-level windows.
inline std::vector<QWidget*> shown()
{
    std::vector<QWidget*> found;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget->isVisible())
            found.push_back(widget);
    return found;
}

/// The one visible top-level window; null when there is none, or more than one.
inline QWidget* only()
{
    const std::vector<QWidget*> found = shown();
    return found.size() == 1 ? found.front() : nullptr;
}

/// The named control of the only window, or null.
template <typename Widget> Widget* control(const char* name)
{
    QWidget* window = only();
    return window ? window->findChild<Widget*>(name) : nullptr;
}

/// Lets everything that is queued happen, deferred deletions included.
inline void settle()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

/// Presses a key in the only window as the keyboard would.
inline void pressKey(Qt::Key key)
{
    QTest::keyPress(only()->windowHandle(), key);
    settle();
}

} // namespace windows
