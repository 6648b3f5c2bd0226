// Sees every window that the program shows, and keeps pictures of them.
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <string>

enum class WindowKind { selection, progress, alert, other };

/// What a window is, by its controls: the selection window has a button "butn_OK", the progress window a
/// progress bar.
WindowKind kindOfWindow(const QWidget& window);

/// Takes every alert down, as its button does: whoever waits on one goes on.
void closeAlerts();

class WindowWatcher : public QObject {
public:
    /// `pictures` is a folder for pictures, made when missing; empty for none. `onWindow` is called for each
    /// window soon after it was shown, from the event loop.
    WindowWatcher(std::string pictures, std::function<void(QWidget&, WindowKind)> onWindow);
    ~WindowWatcher() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void look(const QPointer<QWidget>& window);
    QString picturePath(WindowKind kind);
    void followProgress(QWidget& window, const QString& path);

    std::string m_pictures;
    std::function<void(QWidget&, WindowKind)> m_onWindow;
    int m_pictureCount = 0;
};
