// The window's own pictures: four 32 x 32 arrows for the move buttons, drawn on a white
// ground whose white then becomes transparent, and the three 16 x 16 log pictures.
#include <QBitmap>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPolygon>

#include "window/qt/window_qt_internal.h"

namespace window {

static const QColor kArrowColour(0, 0, 128);
static const QColor kStarColour(255, 255, 0);

// A right-pointing arrow across the picture; `mirrored` turns it to the left.
static QPolygon ArrowShape(bool mirrored) {
    QPolygon arrow({QPoint(3, 12), QPoint(16, 12), QPoint(16, 4), QPoint(28, 16), QPoint(16, 28),
                    QPoint(16, 20), QPoint(3, 20)});
    if (!mirrored) return arrow;
    for (QPoint& point : arrow) point.setX(31 - point.x());
    return arrow;
}

// Six strokes round a centre; drawn into the arrow's shaft.
static void DrawAsterisk(QPainter& painter, QPoint centre) {
    painter.setPen(QPen(kStarColour, 2));
    painter.drawLine(centre + QPoint(-3, 0), centre + QPoint(3, 0));
    painter.drawLine(centre + QPoint(-2, -3), centre + QPoint(2, 3));
    painter.drawLine(centre + QPoint(-2, 3), centre + QPoint(2, -3));
}

QPixmap ArrowPicture(Arrow arrow) {
    QImage image(32, 32, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        const bool left = arrow == Arrow::Left || arrow == Arrow::LeftAll;
        painter.setPen(Qt::NoPen);
        painter.setBrush(kArrowColour);
        painter.drawPolygon(ArrowShape(left));
        if (arrow == Arrow::RightAll) DrawAsterisk(painter, QPoint(19, 16));
        if (arrow == Arrow::LeftAll) DrawAsterisk(painter, QPoint(12, 16));
    }
    QPixmap picture = QPixmap::fromImage(image);
    picture.setMask(QBitmap::fromImage(image.createMaskFromColor(QColor(Qt::white).rgb())));
    return picture;
}

QPixmap LogPicture(std::int16_t icon) {
    QPixmap picture(16, 16);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    switch (icon) {
        case kIconFailed:
            painter.setPen(QPen(QColor(220, 0, 0), 3, Qt::SolidLine, Qt::RoundCap));
            painter.drawLine(QPointF(3.5, 3.5), QPointF(12.5, 12.5));
            painter.drawLine(QPointF(12.5, 3.5), QPointF(3.5, 12.5));
            break;
        case kIconDone: {
            painter.setPen(QPen(QColor(0, 64, 224), 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            QPainterPath tick;
            tick.moveTo(2.5, 8.5);
            tick.lineTo(6.5, 12.5);
            tick.lineTo(13.5, 3.5);
            painter.drawPath(tick);
            break;
        }
        case kIconInProgress:
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(0, 160, 0));
            painter.drawPolygon(QPolygonF({QPointF(4, 2), QPointF(14, 8), QPointF(4, 14)}));
            break;
        default:
            break;
    }
    return picture;
}

}  // namespace window
