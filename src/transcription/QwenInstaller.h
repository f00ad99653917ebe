#pragma once

#include "hosted/CancellationFlag.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

#include <expected>
#include <functional>

namespace quendra {

// Where the on-device Qwen model lives, whether it is ready, and the steps
// that put it there.
class QwenInstaller {
public:
    // `root` is the application data folder (<data home>/Quendra).
    explicit QwenInstaller(QString root);

    QString interpreter() const;      // qwen-venv/bin/python
    QString modelDirectory() const;   // models/Qwen3-ASR-1.7B-bf16
    QString incompleteMarker() const; // qwen-install.incomplete

    // The interpreter is executable, the weights are there and no
    // installation is half done.
    bool installed() const;

    struct Step {
        QString title;
        QString program;
        QStringList arguments;
    };
    struct Progress {
        int step = 0; // 1-based
        int steps = 0;
        QString title;
    };

    // The real installation: a virtual environment, the Python packages, the
    // model's weights. Needs the network.
    QList<Step> steps(const QString& systemPython = QStringLiteral("python3")) const;

    // Runs the steps in order with the incomplete marker present throughout;
    // the marker is removed only when every step succeeded. The error names
    // the step that failed.
    // Cancelling stops the step under way; the marker stays, so a later
    // installation starts over.
    QCoro::Task<std::expected<void, QString>>
    install(QList<Step> steps, std::function<void(Progress)> onProgress, Cancellation cancel = {});

private:
    QString root;
};

} // namespace quendra
