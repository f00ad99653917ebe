#include "QaSwitches.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

constexpr auto prefix = u"--qa-";
constexpr auto bundlePrefix = u"--qa-target-bundle=";

} // namespace

QaSwitches QaSwitches::parse(const QStringList& arguments) {
    QaSwitches switches;
    for (const QString& argument : arguments) {
        switches.present = switches.present || argument.startsWith(prefix);
        if (argument == u"--qa-quit-after-launch"_s)
            switches.quitAfterLaunch = true;
        else if (argument == u"--qa-target-log"_s)
            switches.targetLog = true;
        else if (argument == u"--qa-insert-timing"_s)
            switches.insertTiming = true;
        else if (argument == u"--qa-hotkey-log"_s)
            switches.hotKeyLog = true;
        else if (argument.startsWith(bundlePrefix) && switches.targetBundle.isEmpty())
            switches.targetBundle = argument.mid(QStringView(bundlePrefix).size());
    }
    return switches;
}

QStringList QaSwitches::without(const QStringList& arguments) {
    QStringList rest;
    for (const QString& argument : arguments)
        if (!argument.startsWith(prefix))
            rest << argument;
    return rest;
}

} // namespace quendra
