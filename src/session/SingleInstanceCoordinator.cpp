#include "SingleInstanceCoordinator.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace quendra::SingleInstanceCoordinator {

QString resolvedLocation(const QString& path) {
    // "a/../b" names b even where a does not exist, as a shell would take it.
    const QString cleaned = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    const QString canonical = QFileInfo(cleaned).canonicalFilePath();
    return canonical.isEmpty() ? cleaned : canonical;
}

QStringList installedLocations() {
    return {resolvedLocation(QDir::home().filePath(u".local/bin/parlevo"_s)),
            resolvedLocation(u"/usr/bin/parlevo"_s)};
}

namespace {

std::optional<RunningInstance> installedAmong(const QStringList& installed,
                                              const QList<RunningInstance>& others) {
    for (const RunningInstance& other : others)
        if (installed.contains(other.location))
            return other;
    return std::nullopt;
}

} // namespace

Decision decide(const QString& selfLocation, const QStringList& installed,
                const QList<RunningInstance>& others) {
    Decision decision;
    if (installed.contains(selfLocation)) {
        decision.quit = others;
        return decision;
    }
    if (auto other = installedAmong(installed, others)) {
        decision.continueLaunching = false;
        decision.activate = std::move(other);
        return decision;
    }
    // Copies from elsewhere may run side by side: none of them is the one to defer to.
    return decision;
}

std::optional<RunningInstance> commandTarget(const QStringList& installed,
                                             const QList<RunningInstance>& others) {
    if (auto other = installedAmong(installed, others))
        return other;
    if (others.isEmpty())
        return std::nullopt;
    return others.first();
}

bool shouldContinueLaunching(const QString& selfLocation, InstanceBus& bus) {
    const Decision decision =
        decide(resolvedLocation(selfLocation), installedLocations(), bus.otherInstances());
    if (decision.activate)
        bus.activate(*decision.activate);
    for (const RunningInstance& other : decision.quit)
        bus.quit(other);
    return decision.continueLaunching;
}

} // namespace quendra::SingleInstanceCoordinator
