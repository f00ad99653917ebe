#pragma once

// Clipboard data through the pipes the Wayland data protocols hand over: read
// with a deadline, since the other side may never answer, and written without
// blocking, since the reader takes it at its own pace.

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <optional>

namespace quendra {

// Everything up to the writer's end of the pipe; none when the deadline
// passes first or reading fails. Closes the descriptor.
std::optional<QByteArray> readPipeUntilClosed(int fd,
                                              std::chrono::steady_clock::time_point deadline);

// Writes the data to the descriptor from the event loop as the reader takes
// it, closes the descriptor and deletes itself; `finished` says whether all of
// it went. A reader that leaves (or is stuck for `patience`) ends it early.
class PipeWriter : public QObject {
    Q_OBJECT
public:
    static PipeWriter* start(int fd, const QByteArray& data, std::chrono::milliseconds patience,
                             QObject* parent = nullptr);
    ~PipeWriter() override;

Q_SIGNALS:
    void finished(bool complete);

private:
    PipeWriter(int fd, const QByteArray& data, std::chrono::milliseconds patience, QObject* parent);
    void writeSome();
    void finish(bool complete);

    int fd;
    QByteArray data;
    qsizetype offset = 0;
    QSocketNotifier* notifier = nullptr;
    QTimer stuck;
    bool done = false;
};

} // namespace quendra
