#include "ProgramFolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace quendra {

namespace {

bool insideBuildTree(const QString& folder) {
    const QString tree = QFileInfo(QStringLiteral(QUENDRA_BUILD_TREE)).canonicalFilePath();
    return !tree.isEmpty() && (folder == tree || folder.startsWith(tree + u'/'));
}

// The installed folder at `fromProgram` (relative to the program's folder);
// a program of the build tree, which has none, uses `inBuildTree` instead.
QString installedFolder(const QString& fromProgram, const QString& inBuildTree) {
    const QString program = QCoreApplication::applicationDirPath();
    const QString installed = QDir::cleanPath(QDir(program).filePath(fromProgram));
    if (QFileInfo(installed).isDir() || !insideBuildTree(program))
        return installed;
    return inBuildTree;
}

} // namespace

QString ProgramFolders::resources() {
    return installedFolder(QStringLiteral(QUENDRA_DATA_FROM_PROGRAM),
                           QStringLiteral(QUENDRA_SOURCE_RESOURCES));
}

QString ProgramFolders::helper(const QString& name) {
    return QDir(installedFolder(QStringLiteral(QUENDRA_HELPERS_FROM_PROGRAM),
                                QCoreApplication::applicationDirPath()))
        .filePath(name);
}

} // namespace quendra
