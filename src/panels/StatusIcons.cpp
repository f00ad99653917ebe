#include "StatusIcons.h"

#include "model/ApplicationId.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace quendra {

namespace {

QPixmap microphone(const QColor& colour, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 64.0, size / 64.0);
    p.setPen(QPen(colour, 5, Qt::SolidLine, Qt::RoundCap));
    p.setBrush(colour);
    p.drawRoundedRect(QRectF(22, 6, 20, 34), 10, 10);
    p.setBrush(Qt::NoBrush);
    QPainterPath cup;
    cup.moveTo(14, 30);
    cup.cubicTo(14, 52, 50, 52, 50, 30);
    p.drawPath(cup);
    p.drawLine(32, 48, 32, 58);
    p.drawLine(22, 58, 42, 58);
    return pixmap;
}

// A badge in the lower right corner: a dot for listening, three dots for
// transcribing, an exclamation mark for a problem.
void badge(QPixmap& pixmap, StatusIcon kind) {
    if (kind == StatusIcon::ready)
        return;
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(pixmap.width() / 64.0, pixmap.height() / 64.0);
    const QRectF disc(34, 34, 28, 28);
    p.setPen(QPen(Qt::white, 3));
    switch (kind) {
    case StatusIcon::listening:
        p.setBrush(QColor(0xd9, 0x34, 0x2b));
        p.drawEllipse(disc);
        break;
    case StatusIcon::transcribing:
        p.setBrush(QColor(0x2b, 0x6c, 0xb0));
        p.drawEllipse(disc);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        for (int i = 0; i < 3; ++i)
            p.drawEllipse(QPointF(41 + 7 * i, 48), 2.6, 2.6);
        break;
    case StatusIcon::attention:
        p.setBrush(QColor(0xe6, 0x7e, 0x22));
        p.drawEllipse(disc);
        p.setPen(QPen(Qt::white, 4, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(48, 40), QPointF(48, 50));
        p.drawPoint(QPointF(48, 56));
        break;
    case StatusIcon::ready:
        break;
    }
}

} // namespace

StatusIcon statusIconFor(const DictationPhase& phase, bool setupProblem) {
    switch (phase.kind) {
    case DictationPhase::Case::recording:
        return StatusIcon::listening;
    case DictationPhase::Case::transcribing:
        return StatusIcon::transcribing;
    case DictationPhase::Case::awaitingPlacement:
    case DictationPhase::Case::failed:
        return StatusIcon::attention;
    case DictationPhase::Case::ready:
    case DictationPhase::Case::copied:
        break;
    }
    return setupProblem ? StatusIcon::attention : StatusIcon::ready;
}

QString statusIconName(StatusIcon kind) {
    switch (kind) {
    case StatusIcon::listening:
        return QStringLiteral(QUENDRA_APPLICATION_ID "-listening-symbolic");
    case StatusIcon::transcribing:
        return QStringLiteral(QUENDRA_APPLICATION_ID "-transcribing-symbolic");
    case StatusIcon::attention:
        return QStringLiteral(QUENDRA_APPLICATION_ID "-attention-symbolic");
    case StatusIcon::ready:
        break;
    }
    return QStringLiteral(QUENDRA_APPLICATION_ID "-symbolic");
}

QIcon statusIcon(StatusIcon kind) {
    QIcon drawn;
    for (int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap = microphone(QColor(0x2b, 0x6c, 0xb0), size);
        badge(pixmap, kind);
        drawn.addPixmap(pixmap);
    }
    return QIcon::fromTheme(statusIconName(kind), drawn);
}

QIcon applicationIcon() {
    return QIcon::fromTheme(QStringLiteral(QUENDRA_APPLICATION_ID), statusIcon(StatusIcon::ready));
}

} // namespace quendra
