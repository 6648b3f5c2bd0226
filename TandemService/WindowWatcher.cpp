#include "TandemService/WindowWatcher.h"

#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QMessageBox>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <cstdio>

namespace {

/// A progress window's picture is taken again up to this percentage, so that it shows a run under way.
constexpr int kLastPicturedPercent = 60;

const char* nameOfKind(WindowKind kind)
{
    switch (kind) {
    case WindowKind::selection:
        return "selection";
    case WindowKind::progress:
        return "progress";
    case WindowKind::alert:
        return "alert";
    case WindowKind::other:
        break;
    }
    return "window";
}

bool isRealWindow(const QWidget& widget)
{
    const Qt::WindowType type = widget.windowType();
    return widget.isWindow() && (type == Qt::Window || type == Qt::Dialog);
}

bool savePicture(QWidget& window, const QString& path)
{
    return window.grab().save(path, "PNG");
}

} // namespace

WindowKind kindOfWindow(const QWidget& window)
{
    if (qobject_cast<const QMessageBox*>(&window))
        return WindowKind::alert;
    if (window.findChild<QPushButton*>(QStringLiteral("butn_OK")))
        return WindowKind::selection;
    return window.findChild<QProgressBar*>() ? WindowKind::progress : WindowKind::other;
}

void closeAlerts()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget* const window : windows)
        if (kindOfWindow(*window) == WindowKind::alert)
            (void)window->close(); // one that is hidden is closed already
}

WindowWatcher::WindowWatcher(std::string pictures, std::function<void(QWidget&, WindowKind)> onWindow)
    : m_pictures(std::move(pictures))
    , m_onWindow(std::move(onWindow))
{
    qApp->installEventFilter(this);
}

WindowWatcher::~WindowWatcher() = default;

bool WindowWatcher::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Show && watched->isWidgetType()) {
        auto* const widget = static_cast<QWidget*>(watched);
        // Not now: whoever shows the window is still at it.
        if (isRealWindow(*widget))
            QTimer::singleShot(0, this, [this, window = QPointer<QWidget>(widget)] { look(window); });
    }
    return QObject::eventFilter(watched, event);
}

void WindowWatcher::look(const QPointer<QWidget>& window)
{
    if (!window || !window->isVisible())
        return;
    const WindowKind kind = kindOfWindow(*window);
    if (!m_pictures.empty()) {
        const QString path = picturePath(kind);
        if (savePicture(*window, path)) {
            std::printf("picture: %s\n", path.toUtf8().constData());
            (void)std::fflush(stdout); // where standard output is closed there is nobody to tell
        } else {
            std::fprintf(stderr, "TandemService: cannot save %s\n", path.toUtf8().constData());
        }
        if (kind == WindowKind::progress)
            followProgress(*window, path);
    }
    m_onWindow(*window, kind);
}

QString WindowWatcher::picturePath(WindowKind kind)
{
    const QDir folder(QString::fromStdString(m_pictures));
    (void)folder.mkpath(QStringLiteral(".")); // saving says when it failed
    return folder.absoluteFilePath(
        QStringLiteral("%1-%2.png").arg(++m_pictureCount).arg(QLatin1String(nameOfKind(kind))));
}

void WindowWatcher::followProgress(QWidget& window, const QString& path)
{
    auto* const bar = window.findChild<QProgressBar*>();
    connect(bar, &QProgressBar::valueChanged, &window, [&window, path](int value) {
        if (value <= kLastPicturedPercent)
            (void)savePicture(window, path); // the first picture stays otherwise
    });
}
