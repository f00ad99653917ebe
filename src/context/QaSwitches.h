#pragma once

#include <QString>
#include <QStringList>

namespace quendra {

// The "--qa-*" switches of a test run, read once from the process's
// arguments by the owner and handed to the objects they concern.
struct QaSwitches {
    bool quitAfterLaunch = false; // --qa-quit-after-launch
    bool targetLog = false;       // --qa-target-log: every target decision on standard error
    bool insertTiming = false;    // --qa-insert-timing
    bool hotKeyLog = false;       // --qa-hotkey-log
    QString targetBundle;         // --qa-target-bundle=ID: only this application is a target
    bool present = false;         // any --qa- switch, known or not

    // Whether this is a test run at all.
    bool any() const { return present; }

    static QaSwitches parse(const QStringList& arguments);
    // The arguments without the switches, for the command line.
    static QStringList without(const QStringList& arguments);
};

} // namespace quendra
