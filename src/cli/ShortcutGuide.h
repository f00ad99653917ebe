#pragma once

// What a user does to start dictation with a key on a desktop that lets no
// application take a shortcut: bind Parlevo's toggle command in the
// desktop's own settings. The doctor says how, and binds it where the
// desktop takes a binding from outside.

#include "model/DictationShortcut.h"
#include "platform/DesktopSession.h"

#include <QString>

#include <expected>
#include <optional>

namespace quendra {

class ShortcutGuide {
public:
    ShortcutGuide(DesktopSession session, DictationShortcut shortcut, QString program);

    // The command the key runs, with the program's full path.
    QString command() const;
    // Where and how to bind it, in this desktop's words.
    QString advice() const;
    // Whether the key is bound to the command already; nullopt where the
    // desktop's settings cannot be read from outside.
    std::optional<bool> isBound() const;
    // Whether bind() can do it for the user.
    bool canBind() const;
    // Binds the key to the command; the sentence of what was done, or why not.
    std::expected<QString, QString> bind() const;

private:
    std::expected<QString, QString> bindGnome() const;
    std::expected<QString, QString> bindSway() const;

    DesktopSession session;
    DictationShortcut shortcut;
    QString program;
};

} // namespace quendra
