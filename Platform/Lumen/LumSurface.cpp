#include "Platform/Lumen/LumSurface.h"

#include "Platform/Carbon/WindowsInternal.h"
#include "Platform/Lumen/CheckTree.h"
#include "Platform/Lumen/LumPanel.h"
#include "Platform/Lumen/LumResource.h"
#include "Platform/Support/Assertion.h"

#include <QBuffer>
#include <QFile>
#include <QFrame>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QUiLoader>
#include <QVBoxLayout>

#include <map>
#include <memory>

using PubLumen::LumPanel;

struct LumSurface {
    LumPanel* panel;
    int references;
};

struct LumSurfaceManager {
    std::map<WindowRef, LumSurface*> surfaces;
};

namespace {

constexpr qint64 kMaxLayoutBytes = 1024 * 1024;

/// The frame of a whole layout. A window without the desktop's frame needs an edge that shows on light and
/// dark alike: a style's own frame is darker than the window, and so not to be seen where all is dark.
class EdgeFrame final : public QFrame {
public:
    using QFrame::QFrame;

protected:
    void paintEvent(QPaintEvent*) override
    {
        constexpr double kEdgeStrength = 0.3; // of the way from the window's colour to its text's
        QColor edge = palette().color(QPalette::WindowText);
        edge.setAlphaF(kEdgeStrength);
        QPainter painter(this);
        painter.setPen(QPen(edge, 1));
        painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    }
};

/// Builds the toolkit's own tree and frame where a form asks for them.
class LayoutLoader final : public QUiLoader {
public:
    LayoutLoader() { clearPluginPaths(); }

    QWidget* createWidget(const QString& className, QWidget* parent, const QString& name) override
    {
        QWidget* made = nullptr; // owned by its parent, the content by whoever loads it
        if (className == "QTreeWidget")
            made = new PubLumen::CheckTree(parent);
        else if (className == "QFrame" && !parent)
            made = new EdgeFrame;
        else
            return QUiLoader::createWidget(className, parent, name);
        made->setObjectName(name);
        return made;
    }
};

/// Keeps a window's panel as long as its content, and its place in the manager.
class PanelOwner final : public QObject {
public:
    PanelOwner(QWidget& content, WindowRef window)
        : QObject(&content)
        , panel(content)
        , m_window(window)
    {
    }
    ~PanelOwner() override;

    LumPanel panel;

private:
    WindowRef m_window;
};

/// Takes a window's surface out of the manager's hands; null when it has none.
LumSurface* takeSurface(LumSurfaceManager& manager, WindowRef window)
{
    const auto found = manager.surfaces.find(window);
    if (found == manager.surfaces.end())
        return nullptr;
    LumSurface* surface = found->second;
    manager.surfaces.erase(found);
    return surface;
}

/// For a window that ends without having been detached; the controls' widgets are gone already.
PanelOwner::~PanelOwner()
{
    Lum0Release(takeSurface(*Lum0SMGetSurfaceManage(), m_window));
}

QWidget* loadLayout(const PubLumen::LumFileManager* files, std::u16string_view layoutName)
{
    if (!files)
        return nullptr;
    const std::string path = files->DocumentPath(layoutName);
    QFile file(QString::fromStdString(path));
    if (path.empty() || !file.open(QIODevice::ReadOnly) || file.size() > kMaxLayoutBytes)
        return nullptr;
    QByteArray bytes = file.read(kMaxLayoutBytes);
    QBuffer buffer(&bytes);
    (void)buffer.open(QIODevice::ReadOnly); // a buffer over memory always opens
    return LayoutLoader().load(&buffer);
}

void scaleFonts(QWidget& content)
{
    for (QLabel* label : content.findChildren<QLabel*>()) {
        const int percent = label->property("fontPercent").toInt();
        if (percent <= 0)
            continue;
        QFont font = label->font();
        font.setPointSizeF(font.pointSizeF() * percent / 100);
        label->setFont(font);
    }
}

void placeContent(OpaqueWindowPtr& window, QWidget& content)
{
    scaleFonts(content);
    window.setWindowTitle(content.windowTitle());
    const QString closeButton = content.property("closeButton").toString();
    if (const QPointer<QPushButton> button = content.findChild<QPushButton*>(closeButton))
        window.closeAction = [button] {
            if (button)
                button->click();
        };
    auto* layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(&content);
}

} // namespace

LumSurfaceManager* Lum0SMGetSurfaceManage()
{
    static LumSurfaceManager manager;
    return &manager;
}

LumSurface* Lum0SMCreateSurfaceW(LumSurfaceManager* manager, WindowRef window, std::u16string_view layoutName,
    const PubLumen::LumFileManager* files)
{
    VELMORA_ASSERT(manager && window && !manager->surfaces.contains(window));
    QWidget* content = loadLayout(files, layoutName);
    if (!content)
        return nullptr;
    auto* owner = new PanelOwner(*content, window); // goes with the content
    placeContent(*window, *content);
    auto* surface = new LumSurface {&owner->panel, 2};
    manager->surfaces.emplace(window, surface);
    return surface;
}

LumPanel* Lum0SurfaceGetRootPanel(LumSurface* surface)
{
    VELMORA_ASSERT(surface);
    return surface->panel;
}

void Lum0SMDetachSurface(LumSurfaceManager* manager, WindowRef window)
{
    VELMORA_ASSERT(manager);
    LumSurface* surface = takeSurface(*manager, window);
    if (!surface)
        return;
    surface->panel->Close();
    Lum0Release(surface);
}

void Lum0Release(LumSurface* surface)
{
    if (surface && --surface->references == 0)
        delete surface;
}
