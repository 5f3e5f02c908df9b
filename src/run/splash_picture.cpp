// The splash picture, drawn rather than shipped: a night-blue field with faint class boxes, the
// two-way transfer emblem, the product name, and a dark band where the version and progress
// lines stand.
#include <QFont>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <cmath>

#include "install/install.h"
#include "run/startup.h"

namespace run {
namespace {

constexpr int kW = kPictureWidth;
constexpr int kH = kPictureHeight;
constexpr QPointF kEmblem(201.0, 148.0);

void DrawBackground(QPainter& p) {
    QLinearGradient field(0, 0, 0, kH);
    field.setColorAt(0.0, QColor(8, 22, 46));
    field.setColorAt(0.55, QColor(14, 52, 84));
    field.setColorAt(1.0, QColor(6, 18, 38));
    p.fillRect(0, 0, kW, kH, field);

    QRadialGradient glow(kEmblem, 190);
    glow.setColorAt(0.0, QColor(60, 150, 210, 90));
    glow.setColorAt(1.0, QColor(60, 150, 210, 0));
    p.fillRect(0, 0, kW, kH, glow);
}

// A few class boxes with a name compartment, faint, as on a class diagram behind glass.
void DrawClassBoxes(QPainter& p) {
    struct Box {
        int x, y, w, h;
    };
    constexpr Box kBoxes[] = {{22, 26, 74, 52},
                              {300, 40, 80, 60},
                              {34, 214, 64, 46},
                              {312, 206, 66, 50},
                              {150, 352, 100, 30}};
    p.setPen(QPen(QColor(150, 200, 235, 48), 1.0));
    p.setBrush(QColor(150, 200, 235, 14));
    for (const auto& box : kBoxes) {
        p.drawRect(box.x, box.y, box.w, box.h);
        p.drawLine(box.x, box.y + 13, box.x + box.w, box.y + 13);
        p.drawLine(box.x + 6, box.y + 22, box.x + box.w - 18, box.y + 22);
        p.drawLine(box.x + 6, box.y + 30, box.x + box.w - 26, box.y + 30);
    }
    p.setPen(QPen(QColor(150, 200, 235, 40), 1.0, Qt::DashLine));
    p.drawLine(96, 52, 300, 70);
    p.drawLine(66, 214, 66, 78);
    p.drawLine(345, 206, 340, 100);
}

void DrawArrowHead(QPainter& p, QPointF tip, double angle, const QColor& color) {
    QPainterPath head;
    head.moveTo(tip);
    head.lineTo(tip + QPointF(std::cos(angle + 2.6) * 16, std::sin(angle + 2.6) * 16));
    head.lineTo(tip + QPointF(std::cos(angle - 2.6) * 16, std::sin(angle - 2.6) * 16));
    head.closeSubpath();
    p.fillPath(head, color);
}

// Two arcs chasing each other round a core: classes going out and coming back.
void DrawEmblem(QPainter& p) {
    const double radius = 78.0;
    QRectF ring(kEmblem.x() - radius, kEmblem.y() - radius, 2 * radius, 2 * radius);

    QLinearGradient warm(ring.topLeft(), ring.bottomRight());
    warm.setColorAt(0.0, QColor(255, 196, 84));
    warm.setColorAt(1.0, QColor(240, 110, 60));
    QLinearGradient cool(ring.bottomRight(), ring.topLeft());
    cool.setColorAt(0.0, QColor(70, 220, 230));
    cool.setColorAt(1.0, QColor(50, 120, 240));

    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QBrush(warm), 14, Qt::SolidLine, Qt::RoundCap));
    p.drawArc(ring, 100 * 16, 150 * 16);
    p.setPen(QPen(QBrush(cool), 14, Qt::SolidLine, Qt::RoundCap));
    p.drawArc(ring, 280 * 16, 150 * 16);

    // Arc ends (Qt angles run counter-clockwise from 3 o'clock, y grows downwards).
    auto at = [&](double degrees) {
        double r = degrees * M_PI / 180.0;
        return QPointF(kEmblem.x() + radius * std::cos(r), kEmblem.y() - radius * std::sin(r));
    };
    // Each head sits just past its arc's end and points along the arc's counter-clockwise run.
    auto along = [](double degrees) {
        double r = degrees * M_PI / 180.0;
        return std::atan2(-std::cos(r), -std::sin(r));
    };
    DrawArrowHead(p, at(262), along(262), QColor(240, 112, 60));
    DrawArrowHead(p, at(82), along(82), QColor(52, 126, 240));

    // The core: a class box facing a database drum.
    QRadialGradient core(kEmblem, 52);
    core.setColorAt(0.0, QColor(255, 255, 255, 40));
    core.setColorAt(1.0, QColor(255, 255, 255, 0));
    p.setPen(Qt::NoPen);
    p.setBrush(core);
    p.drawEllipse(kEmblem, 52, 52);

    p.setPen(QPen(QColor(235, 242, 250), 2.2));
    p.setBrush(QColor(235, 242, 250, 30));
    QRectF box(kEmblem.x() - 40, kEmblem.y() - 24, 32, 46);
    p.drawRect(box);
    p.drawLine(box.topLeft() + QPointF(0, 12), box.topRight() + QPointF(0, 12));
    p.drawLine(box.topLeft() + QPointF(6, 22), box.topRight() + QPointF(-6, 22));
    p.drawLine(box.topLeft() + QPointF(6, 31), box.topRight() + QPointF(-10, 31));

    QRectF drum(kEmblem.x() + 8, kEmblem.y() - 24, 32, 46);
    p.drawLine(drum.topLeft() + QPointF(0, 5), drum.bottomLeft() - QPointF(0, 5));
    p.drawLine(drum.topRight() + QPointF(0, 5), drum.bottomRight() - QPointF(0, 5));
    p.drawEllipse(QRectF(drum.left(), drum.top(), drum.width(), 10));
    p.drawArc(QRectF(drum.left(), drum.bottom() - 10, drum.width(), 10), 180 * 16, 180 * 16);
    p.drawArc(QRectF(drum.left(), drum.center().y() - 5, drum.width(), 10), 180 * 16, 180 * 16);
}

void DrawTitle(QPainter& p) {
    QFont title(QStringLiteral("DejaVu Sans"));
    title.setPixelSize(46);
    title.setBold(true);
    title.setLetterSpacing(QFont::AbsoluteSpacing, 1.5);
    p.setFont(title);
    p.setPen(QColor(0, 0, 0, 90));
    p.drawText(QRectF(2, 252, kW, 60), Qt::AlignHCenter | Qt::AlignVCenter,
               QStringLiteral("Corvansil"));
    p.setPen(QColor(246, 249, 253));
    p.drawText(QRectF(0, 250, kW, 60), Qt::AlignHCenter | Qt::AlignVCenter,
               QStringLiteral("Corvansil"));

    QFont subtitle(QStringLiteral("DejaVu Sans"));
    subtitle.setPixelSize(13);
    subtitle.setLetterSpacing(QFont::AbsoluteSpacing, 2.2);
    p.setFont(subtitle);
    p.setPen(QColor(150, 205, 235));
    p.drawText(QRectF(0, 306, kW, 20), Qt::AlignHCenter | Qt::AlignVCenter,
               QStringLiteral("CLASS TRANSFER FOR ROSE AND TAVRO"));

    QLinearGradient rule(90, 0, 312, 0);
    rule.setColorAt(0.0, QColor(255, 170, 70, 0));
    rule.setColorAt(0.5, QColor(255, 170, 70, 220));
    rule.setColorAt(1.0, QColor(255, 170, 70, 0));
    p.fillRect(QRectF(90, 334, 222, 2), rule);
}

// The band behind lblVersion (y 413) and lblStartUp (y 433), and the notice under it.
void DrawFooter(QPainter& p) {
    p.fillRect(QRectF(0, 400, kW, 60), QColor(4, 12, 26, 150));
    p.fillRect(QRectF(0, 400, kW, 1), QColor(120, 180, 220, 70));
    QFont small(QStringLiteral("DejaVu Sans"));
    small.setPixelSize(10);
    p.setFont(small);
    p.setPen(QColor(120, 150, 180));
    p.drawText(QRectF(0, 464, kW, 16), Qt::AlignHCenter | Qt::AlignVCenter,
               QString::fromLatin1(install::kCopyright));
}

QImage DrawPicture() {
    QImage canvas(kW, kH, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    DrawBackground(painter);
    DrawClassBoxes(painter);
    DrawEmblem(painter);
    DrawTitle(painter);
    DrawFooter(painter);
    painter.end();
    return canvas.convertToFormat(QImage::Format_RGB888);
}

}  // namespace

const QImage& StartUpPicture() {
    static const QImage picture = DrawPicture();
    return picture;
}

}  // namespace run
