#pragma once

#include <QString>

namespace quendra {

// The phase of the dictation the user interface shows. Only `copied` and
// `failed` carry a message; equality compares the case and that message.
struct DictationPhase {
    enum class Case { ready, recording, transcribing, awaitingPlacement, copied, failed };
    Case kind = Case::ready;
    QString message;

    static DictationPhase ready() { return {Case::ready, {}}; }
    static DictationPhase recording() { return {Case::recording, {}}; }
    static DictationPhase transcribing() { return {Case::transcribing, {}}; }
    static DictationPhase awaitingPlacement() { return {Case::awaitingPlacement, {}}; }
    static DictationPhase copied(QString message) { return {Case::copied, std::move(message)}; }
    static DictationPhase failed(QString message) { return {Case::failed, std::move(message)}; }

    // "ready", "recording", "transcribing", "awaiting-placement", "copied",
    // "failed: <message>".
    QString description() const;

    friend bool operator==(const DictationPhase&, const DictationPhase&) = default;
};

struct TranscriptionCheckPhase {
    enum class Case { idle, checking, ready, failed };
    Case kind = Case::idle;
    QString message;

    static TranscriptionCheckPhase idle() { return {Case::idle, {}}; }
    static TranscriptionCheckPhase checking() { return {Case::checking, {}}; }
    static TranscriptionCheckPhase ready(QString message) {
        return {Case::ready, std::move(message)};
    }
    static TranscriptionCheckPhase failed(QString message) {
        return {Case::failed, std::move(message)};
    }

    friend bool operator==(const TranscriptionCheckPhase&,
                           const TranscriptionCheckPhase&) = default;
};

struct DictionaryTestPhase {
    enum class Case { idle, recording, transcribing, result, failed };
    Case kind = Case::idle;
    // The heard text for `result`, the message for `failed`.
    QString text;

    static DictionaryTestPhase idle() { return {Case::idle, {}}; }
    static DictionaryTestPhase recording() { return {Case::recording, {}}; }
    static DictionaryTestPhase transcribing() { return {Case::transcribing, {}}; }
    static DictionaryTestPhase result(QString heard) { return {Case::result, std::move(heard)}; }
    static DictionaryTestPhase failed(QString message) {
        return {Case::failed, std::move(message)};
    }

    friend bool operator==(const DictionaryTestPhase&, const DictionaryTestPhase&) = default;
};

} // namespace quendra
