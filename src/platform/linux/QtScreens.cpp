#include "QtScreens.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace quendra {

namespace {

double primaryHeight() {
    const QScreen* primary = QGuiApplication::primaryScreen();
    return primary ? primary->geometry().y() + primary->geometry().height() : 0;
}

QRectF flipped(const QRect& rect, double height) {
    return QRectF(rect.x(), height - rect.y() - rect.height(), rect.width(), rect.height());
}

} // namespace

QList<ScreenFrames> QtScreens::screens() {
    QList<ScreenFrames> frames;
    const double height = primaryHeight();
    QList<QScreen*> all = QGuiApplication::screens();
    all.removeOne(QGuiApplication::primaryScreen());
    if (QGuiApplication::primaryScreen())
        all.prepend(QGuiApplication::primaryScreen());
    for (const QScreen* screen : all)
        frames.append(
            {flipped(screen->geometry(), height), flipped(screen->availableGeometry(), height)});
    return frames;
}

QPointF QtScreens::mouseLocation() {
    const QPoint pos = QCursor::pos();
    return QPointF(pos.x(), primaryHeight() - pos.y());
}

} // namespace quendra
