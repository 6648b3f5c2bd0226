// Renders the plug-in's windows in many situations: show_windows FOLDER writes one PNG for each.
//
// With --dark the palette is a dark one. QT_SCALE_FACTOR and QT_QPA_PLATFORM work as for every program.
#include "tests/Update/ui/ProductsScene.h"
#include "Update/ui/ProgressWind.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPalette>
#include <QScreen>
#include <QTreeWidget>

#include <cstdio>

namespace {

constexpr SInt64 kMega = 1024 * 1024;

class NoResponse final : public IProductsResponse {
public:
    void SelectProductsResponse(const std::vector<CFileSec*>*) override { }
};

QPalette darkPalette()
{
    QPalette palette(QColor(0x2B, 0x2D, 0x31), QColor(0x23, 0x25, 0x29));
    palette.setColor(QPalette::Base, QColor(0x1E, 0x1F, 0x22));
    palette.setColor(QPalette::Highlight, QColor(0x3D, 0x7E, 0xDB));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

QWidget* shownWindow()
{
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget->isVisible() && widget->isWindow())
            return widget;
    return nullptr;
}

class Album {
public:
    explicit Album(const QString& folder)
        : m_folder(folder)
    {
    }

    void take(const QString& name)
    {
        QApplication::processEvents();
        QWidget* window = shownWindow();
        const QString path = m_folder.filePath(name + ".png");
        if (!window || !window->grab().save(path))
            m_complete = false;
        std::printf("%s\n", qPrintable(path));
    }
    bool isComplete() const { return m_complete; }

private:
    QDir m_folder;
    bool m_complete = true;
};

void fillUsual(ProductsScene& scene)
{
    scene.addMandatory({.ownerCode = 5, .name = "core.zip", .sizeBytes = 3 * kMega});
    scene.addOptional({.ownerCode = 5, .name = "fonts.zip", .title = "Shared fonts", .sizeBytes = 2 * kMega});
    scene.product({{.title = "Velmora Photo Studio 4.2", .sizeBytes = 48 * kMega},
        {.ownerCode = 2, .title = "Film looks", .sizeBytes = 7 * kMega},
        {.ownerCode = 2, .title = "Printing templates", .sizeBytes = kMega}});
    scene.product({{.title = "Velmora Sound Desk 2.0.1", .sizeBytes = 21 * kMega}});
    scene.product({{.ownerCode = 2, .title = "Map data: Northern Europe", .sizeBytes = 90 * kMega},
        {.ownerCode = 2, .title = "Map data: Southern Europe", .sizeBytes = 77 * kMega}});
}

void fillNames(ProductsScene& scene)
{
    scene.addOptional(
        {.ownerCode = 5, .name = "x", .title = "共有ライブラリ（日本語辞書）", .sizeBytes = 2 * kMega});
    scene.product({{.title = "Velmora Photographic Laboratory and Darkroom Simulation Suite, Professional "
                             "Edition with Extended Colour Management",
                       .sizeBytes = 48 * kMega},
        {.ownerCode = 2,
            .title = "Übersetzungen für Österreich und die Schweiz – größere Wörterbücher",
            .sizeBytes = kMega}});
    scene.product({{.title = "استوديو الصور 4.2 (نسخة)", .sizeBytes = 4 * kMega},
        {.ownerCode = 2, .title = "עברית – חבילת שפה 2.0", .sizeBytes = kMega}});
    scene.product({{.title = "Студия звука 2.0", .sizeBytes = kMega}});
    scene.product({{.title = "a & b <b>not bold</b> &amp; 100% %d %s", .sizeBytes = 900}});
}

void takeProducts(Album& album, const QString& name, void (*fill)(ProductsScene&))
{
    NoResponse response;
    ProductsScene scene;
    PAuProductsWind window(response);
    fill(scene);
    window.ShowWnd(&scene.files, &scene.mandatory, &scene.optional, &scene.products);
    album.take(name);
    if (auto* tree = shownWindow()->findChild<QTreeWidget*>("trev1"); tree && tree->topLevelItemCount() > 1) {
        shownWindow()->activateWindow();
        QApplication::processEvents();
        tree->setFocus(Qt::TabFocusReason);
        tree->setCurrentItem(tree->topLevelItem(1));
        album.take(name + "-focus");
    }
}

void fillMany(ProductsScene& scene)
{
    for (int i = 1; i <= 40; ++i)
        scene.product({{.title = "Velmora Product " + std::to_string(i), .sizeBytes = i * kMega},
            {.ownerCode = 2, .title = "Additional content " + std::to_string(i), .sizeBytes = kMega}});
}

void fillNothing(ProductsScene&) { }

void takeProgress(Album& album, const QString& name, int downloading, SInt32 percent)
{
    ProductsScene scene;
    PProgressWind window;
    window.ShowWnd(&scene.files, downloading);
    window.SetProgressPercent(percent);
    album.take(name);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QStringList arguments = application.arguments().mid(1);
    if (arguments.removeAll("--dark"))
        QApplication::setPalette(darkPalette());
    if (arguments.size() != 1 || !QDir().mkpath(arguments.front())) {
        std::fputs("usage: show_windows [--dark] FOLDER\n", stderr);
        return 64;
    }
    Album album(arguments.front());
    takeProducts(album, "products", fillUsual);
    takeProducts(album, "products-names", fillNames);
    takeProducts(album, "products-many", fillMany);
    takeProducts(album, "products-empty", fillNothing);
    takeProgress(album, "download", 1, 37);
    takeProgress(album, "install", 0, 82);
    return album.isComplete() ? 0 : 1;
}
