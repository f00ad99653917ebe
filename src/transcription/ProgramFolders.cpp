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

} // namespace

QString ProgramFolders::resources() {
    const QString program = QCoreApplication::applicationDirPath();
    const QString installed =
        QDir::cleanPath(QDir(program).filePath(QStringLiteral(QUENDRA_DATA_FROM_PROGRAM)));
    if (QFileInfo(installed).isDir() || !insideBuildTree(program))
        return installed;
    return QStringLiteral(QUENDRA_SOURCE_RESOURCES);
}

QString ProgramFolders::helper(const QString& name) {
    return QDir(QCoreApplication::applicationDirPath()).filePath(name);
}

} // namespace quendra
