#pragma once

// Points QDir::tempPath() at a folder of the test's own while it lives, so
// checks for files left in the temporary folder do not see other tests' files
// when tests run in parallel.

#include <QByteArray>
#include <QDir>
#include <QTemporaryDir>

class PrivateTemporaryFolder {
public:
    PrivateTemporaryFolder()
        : previous(qgetenv("TMPDIR"))
        , hadPrevious(qEnvironmentVariableIsSet("TMPDIR")) {
        qputenv("TMPDIR", folder.path().toLocal8Bit());
    }
    ~PrivateTemporaryFolder() {
        if (hadPrevious)
            qputenv("TMPDIR", previous);
        else
            qunsetenv("TMPDIR");
    }
    PrivateTemporaryFolder(const PrivateTemporaryFolder&) = delete;
    PrivateTemporaryFolder& operator=(const PrivateTemporaryFolder&) = delete;

    QString path() const { return folder.path(); }

private:
    QTemporaryDir folder;
    QByteArray previous;
    bool hadPrevious;
};
