#pragma once

#include "X11Display.h"
#include "platform/Pasteboard.h"

#include <QObject>

#include <optional>

namespace quendra {

// The clipboard selection through QClipboard, every format of it.
class QtPasteboard : public QObject, public Pasteboard {
    Q_OBJECT
public:
    explicit QtPasteboard(QObject* parent = nullptr);

    QList<PasteboardItem> items() override;
    int changeCount() override;
    void clearContents() override;
    void setString(const QString& text) override;
    void writeItems(const QList<PasteboardItem>& items) override;

private:
    void rememberOwner();

    int changes = 0;
    // The clipboard owner right after our last write. Qt learns that another
    // program took the clipboard only when it gets to the event; the server
    // knows at once.
    X11Display x;
    std::optional<XWindow> ownerAfterWrite;
};

} // namespace quendra
