#pragma once

#include "platform/InstanceBus.h"

#include <QStringList>

#include <optional>

namespace quendra {

// Decides, at the very start of the application, whether this copy goes on:
// the installed copy wins over a copy started from a build or download
// folder, and an installed copy that starts asks every other copy to quit.
namespace SingleInstanceCoordinator {

struct Decision {
    bool continueLaunching = true;
    std::optional<RunningInstance> activate; // the installed copy to bring forward
    QList<RunningInstance> quit;             // the copies asked to quit
};

// Where an installed copy lives: ~/.local/bin/parlevo (what the README's run
// command installs) and the package's /usr/bin/parlevo.
QStringList installedLocations();

// A path with symbolic links resolved, so that two names of one file are equal.
QString resolvedLocation(const QString& path);

Decision decide(const QString& selfLocation, const QStringList& installed,
                const QList<RunningInstance>& others);

// The copy among `others` that a command line controls: the installed one,
// else the first; none when there is no other copy.
std::optional<RunningInstance> commandTarget(const QStringList& installed,
                                             const QList<RunningInstance>& others);

// Asks the others on `bus` and acts on the decision. Test runs are exempt:
// their caller does not ask.
bool shouldContinueLaunching(const QString& selfLocation, InstanceBus& bus);

} // namespace SingleInstanceCoordinator

} // namespace quendra
