#pragma once

#include "audio/CallHint.h"
#include "model/MainThreadChecker.h"
#include "notes/NoteRecorder.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUuid>

#include <functional>
#include <optional>

namespace quendra {

class NoteProcessor;
class NoteSession;

// What the Notes shortcut, the tray and the Notes section show and do: start
// and stop a note (a call with both sources, or the microphone alone), its
// live levels and time, what goes wrong while it records, and its processing
// from the first closed section to the summary. Notes that a quit or a crash
// left in processing are taken up again at start. Main thread only.
class NotesModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool recording READ recording NOTIFY recordingChanged)
    Q_PROPERTY(bool call READ call NOTIFY recordingChanged)
    Q_PROPERTY(QString currentNoteId READ currentNoteId NOTIFY recordingChanged)
    Q_PROPERTY(QString elapsedText READ elapsedText NOTIFY levelsChanged)
    Q_PROPERTY(double microphoneLevel READ microphoneLevel NOTIFY levelsChanged)
    Q_PROPERTY(double systemLevel READ systemLevel NOTIFY levelsChanged)
    Q_PROPERTY(QString notice READ notice NOTIFY noticeChanged)
    Q_PROPERTY(bool callLikely READ callLikely NOTIFY callHintChanged)
    Q_PROPERTY(QString callAppName READ callAppName NOTIFY callHintChanged)

public:
    // How long the computer's audio may stay silent at the start of a call
    // before the user is told.
    static constexpr qint64 silentCallWindowMs = 10'000;
    // Below this the computer's audio counts as silent (a level of 0..1).
    static constexpr double silentLevel = 0.003;

    struct Options {
        // The applications taking part in audio and whether the microphone
        // is in use, for the call hint; none where that cannot be known.
        std::function<CallHint()> callHint;
        // The language code new notes are transcribed in.
        std::function<QString()> language;
        // Milliseconds on a steady clock; tests move it by hand.
        std::function<qint64()> now;
    };

    NotesModel(NoteSession& session, NoteRecorder& recorder, NoteProcessor& processor,
               Options options, QObject* parent = nullptr);
    ~NotesModel() override;

    bool recording() const;
    bool call() const;
    QString currentNoteId() const;
    QString elapsedText() const;
    double microphoneLevel() const { return levels.microphone; }
    double systemLevel() const { return levels.system; }
    QString notice() const { return noticeText; }
    bool callLikely() const { return hint.likelyCall(); }
    QString callAppName() const { return hint.appName.value_or(QString()); }

    // Starts a note: a call records the computer's audio too. The sentence
    // says why nothing started.
    Q_INVOKABLE QString start(bool asCall);
    Q_INVOKABLE void stop();
    // The shortcut's and the tray's press: stops, or starts a call when the
    // hint finds one and a room recording otherwise.
    Q_INVOKABLE void toggle();
    Q_INVOKABLE void refreshCallHint();

    // Processing of one note, by its identifier text.
    Q_INVOKABLE void processNow(const QString& id);
    Q_INVOKABLE void transcribeAgain(const QString& id);
    Q_INVOKABLE void cancelProcessing(const QString& id);
    // "Transcribing 3 of 12", "Telling the speakers apart", ... or empty.
    Q_INVOKABLE QString progressText(const QString& id) const;
    Q_INVOKABLE bool isProcessing(const QString& id) const;

    // Takes up the notes a quit or a crash left in processing.
    void resume();

Q_SIGNALS:
    void recordingChanged();
    void levelsChanged();
    void noticeChanged();
    void callHintChanged();
    // A note's processing moved on or ended; the lists show it.
    void processingChanged(const QString& id);
    // A processing run ended with this sentence (empty when it went well).
    void processed(const QString& id, const QString& message);
    // The recording stopped by itself (the limit, a failure) with a sentence.
    void stoppedUnexpectedly(const QString& message);

private:
    void follow(const NoteRecorder::Event& event);
    void setNotice(const QString& text);
    void tick();
    void runProcessing(const QUuid& id, bool again);
    qint64 now() const;

    MainThreadChecker checker;
    NoteSession& session;
    NoteRecorder& recorder;
    NoteProcessor& processor;
    Options options;
    CallHint hint;
    NoteRecorder::Levels levels;
    QString noticeText;
    QTimer meter;
    QElapsedTimer steady;
    qint64 startedAt = 0;
    // The loudest the computer's audio has been since the call started.
    double loudestSystem = 0;
    bool silenceTold = false;
    QHash<QUuid, QString> progress;
};

} // namespace quendra
