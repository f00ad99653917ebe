#pragma once

// The general clipboard as items of typed data. Main thread only.

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

namespace quendra {

// Every type of one item with its raw data, in the order offered.
using PasteboardItem = QList<std::pair<QString, QByteArray>>;

class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    virtual QList<PasteboardItem> items() = 0;
    // Counts every change, including those of other programs.
    virtual int changeCount() = 0;
    virtual void clearContents() = 0;
    virtual void setString(const QString& text) = 0;
    virtual void writeItems(const QList<PasteboardItem>& items) = 0;
};

} // namespace quendra
