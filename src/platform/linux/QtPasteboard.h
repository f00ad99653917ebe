#pragma once

#include "platform/Pasteboard.h"

#include <QObject>

namespace quendra {

// The clipboard selection through QClipboard, every format of it.
class QtPasteboard : public QObject, public Pasteboard {
    Q_OBJECT
public:
    explicit QtPasteboard(QObject* parent = nullptr);

    QList<PasteboardItem> items() override;
    int changeCount() override { return changes; }
    void clearContents() override;
    void setString(const QString& text) override;
    void writeItems(const QList<PasteboardItem>& items) override;

private:
    int changes = 0;
};

} // namespace quendra
