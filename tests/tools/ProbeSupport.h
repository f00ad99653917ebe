#pragma once

// What the desktop probes share: answers on standard output, modifier names
// as the tests write them, and commands read from standard input.

#include "model/DictationShortcut.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QString>

#include <cstdio>
#include <functional>
#include <optional>

#include <unistd.h>

namespace quendra::probe {

// One answer line, flushed at once: the tests wait for it.
inline void say(const QString& line) {
    std::printf("%s\n", qUtf8Printable(line));
    std::fflush(stdout);
}

// "Ctrl+Alt", or "-" for none.
inline std::optional<ShortcutModifiers> modifiersOf(const QString& text) {
    ShortcutModifiers modifiers;
    if (text == QStringLiteral("-"))
        return modifiers;
    for (const QString& name : text.split(u'+')) {
        const auto modifier = modifierNamed(name);
        if (!modifier)
            return std::nullopt;
        modifiers |= *modifier;
    }
    return modifiers;
}

// Standard input, a line at a time, handed to `run` until it says to stop or
// the input ends; either quits the application.
class LineReader : public QObject {
public:
    explicit LineReader(std::function<bool(const QString&)> run)
        : run(std::move(run))
        , notifier(STDIN_FILENO, QSocketNotifier::Read) {
        connect(&notifier, &QSocketNotifier::activated, this, &LineReader::readSome);
    }

private:
    void readSome() {
        char chunk[4096];
        const ssize_t got = ::read(STDIN_FILENO, chunk, sizeof chunk);
        if (got <= 0)
            return stop();
        pending.append(chunk, got);
        for (qsizetype end = pending.indexOf('\n'); end >= 0; end = pending.indexOf('\n')) {
            const QString line = QString::fromUtf8(pending.left(end));
            pending.remove(0, end + 1);
            if (!run(line))
                return stop();
        }
    }
    void stop() {
        notifier.setEnabled(false);
        QCoreApplication::quit();
    }

    std::function<bool(const QString&)> run;
    QSocketNotifier notifier;
    QByteArray pending;
};

} // namespace quendra::probe
