#include "QtPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <X11/Xlib.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// Selection bookkeeping and Qt's own image stand-in are not the user's data.
bool isBookkeeping(const QString& format) {
    static const QStringList skipped{u"TARGETS"_s, u"MULTIPLE"_s, u"TIMESTAMP"_s, u"SAVE_TARGETS"_s,
                                     u"application/x-qt-image"_s};
    return skipped.contains(format);
}

} // namespace

QtPasteboard::QtPasteboard(QObject* parent)
    : QObject(parent) {
    // Counts other programs' changes as well as ours.
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [this] { ++changes; });
}

QList<PasteboardItem> QtPasteboard::items() {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData(QClipboard::Clipboard);
    if (!data)
        return {};
    PasteboardItem item;
    for (const QString& format : data->formats())
        if (!isBookkeeping(format))
            item.append({format, data->data(format)});
    if (item.isEmpty())
        return {};
    return {item};
}

int QtPasteboard::changeCount() {
    if (ownerAfterWrite && x.isOpen() &&
        XGetSelectionOwner(x.get(), x.atom("CLIPBOARD")) != *ownerAfterWrite) {
        ownerAfterWrite.reset();
        ++changes;
    }
    return changes;
}

void QtPasteboard::rememberOwner() {
    ownerAfterWrite.reset();
    if (x.isOpen())
        ownerAfterWrite = XGetSelectionOwner(x.get(), x.atom("CLIPBOARD"));
}

void QtPasteboard::clearContents() {
    QGuiApplication::clipboard()->clear(QClipboard::Clipboard);
    ownerAfterWrite.reset();
}

void QtPasteboard::setString(const QString& text) {
    auto* data = new QMimeData;
    data->setText(text);
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
    rememberOwner();
}

void QtPasteboard::writeItems(const QList<PasteboardItem>& items) {
    // One clipboard holds one item; further items have nowhere to go.
    if (items.isEmpty())
        return;
    auto* data = new QMimeData;
    for (const auto& [format, bytes] : items.first())
        data->setData(format, bytes);
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
    rememberOwner();
}

} // namespace quendra
