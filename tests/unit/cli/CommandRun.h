#pragma once

// Runs the command line in process and keeps what it printed.

#include "cli/CommandLine.h"

#include <QString>
#include <QStringList>
#include <QTextStream>

namespace quendra::clitest {

struct Outcome {
    int status = 0;
    QString out;
    QString err;
};

inline Outcome runCommand(const QStringList& arguments) {
    Outcome r;
    QTextStream out(&r.out), err(&r.err);
    r.status = runCommandLine(arguments, out, err);
    return r;
}

} // namespace quendra::clitest
