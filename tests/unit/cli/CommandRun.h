#pragma once

// Runs the command line in process, as one run of the program with its own
// owner of the running objects, and keeps what it printed.

#include "cli/CommandLine.h"
#include "context/AppContext.h"

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
    AppContext app;
    r.status = runCommandLine(app, arguments, out, err);
    return r;
}

} // namespace quendra::clitest
