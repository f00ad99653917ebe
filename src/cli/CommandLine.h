#pragma once

#include <QStringList>
#include <QTextStream>

#include <expected>

namespace quendra {

class AppContext;

// The exit statuses of the command line.
enum class ExitStatus : int { success = 0, failure = 1, usage = 2 };

// The process arguments, program name first. File names and text reach the
// commands as UTF-8 or not at all: an argument that is not UTF-8 would name
// another file than the one meant, so it gets the sentence that refuses it.
std::expected<QStringList, QString> decodeArguments(int argc, char** argv);

// The login item's switch: the application starts without showing its window.
inline const QString autostartSwitch = QStringLiteral("--autostart");

// True when the process arguments (program name first) ask for a subcommand
// or for help rather than for the application; test switches ("--qa-...")
// belong to the application.
bool wantsCommandLine(const QStringList& arguments);

// True when the subcommand (first of the arguments) talks to the desktop and
// so needs a GUI application object.
bool commandNeedsDisplay(const QStringList& arguments);

// Runs one subcommand; `arguments` excludes the program name. Its objects
// come from `app`, the same owner the application builds them with.
int runCommandLine(AppContext& app, const QStringList& arguments, QTextStream& out,
                   QTextStream& err);

// The status the process ends with once `out`, which writes to standard
// output, is flushed: output that did not reach its file (a full disk, a
// closed pipe) turns a success into a failure with its sentence.
int finishOutput(int status, QTextStream& out, QTextStream& err);

} // namespace quendra
