// Draws one picture of a check icon: render_check_icon checked|unchecked|fixed PIXELS FILE.png
//
// The colours read well on light and dark backgrounds alike: icons do not follow the palette.
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cstdio>
#include <string_view>

namespace {

/// The drawing's own units: the smallest picture has this many pixels on a side.
constexpr double kGridUnits = 16;
constexpr double kCornerRadius = 3;
constexpr QColor kBlue(0x2F, 0x7D, 0xE1);
constexpr QColor kGrey(0x8A, 0x93, 0x9C);
constexpr QColor kWhite(0xFF, 0xFF, 0xFF);

void drawFilledBox(QPainter& painter, const QColor& colour)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(QRectF(1, 1, 14, 14), kCornerRadius, kCornerRadius);
}

void drawEmptyBox(QPainter& painter)
{
    painter.setPen(QPen(kGrey, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(1.75, 1.75, 12.5, 12.5), kCornerRadius - 0.75, kCornerRadius - 0.75);
}

void drawTick(QPainter& painter)
{
    QPainterPath tick(QPointF(4.25, 8.5));
    tick.lineTo(6.9, 11.1);
    tick.lineTo(11.75, 5.4);
    painter.setPen(QPen(kWhite, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(tick);
}

bool draw(QImage& picture, std::string_view kind)
{
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(picture.width() / kGridUnits, picture.height() / kGridUnits);
    if (kind == "unchecked") {
        drawEmptyBox(painter);
        return true;
    }
    if (kind != "checked" && kind != "fixed")
        return false;
    drawFilledBox(painter, kind == "checked" ? kBlue : kGrey);
    drawTick(painter);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    constexpr int kMaxPixels = 1024;
    const int pixels = argc == 4 ? QByteArray(argv[2]).toInt() : 0;
    if (pixels < 1 || pixels > kMaxPixels) {
        std::fputs("usage: render_check_icon checked|unchecked|fixed PIXELS FILE.png\n", stderr);
        return 64;
    }
    QImage picture(pixels, pixels, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    if (!draw(picture, argv[1]) || !picture.save(QString::fromLocal8Bit(argv[3]), "PNG")) {
        std::fprintf(stderr, "render_check_icon: cannot make %s\n", argv[3]);
        return 1;
    }
    return 0;
}
