#include "NoteAssembly.h"

#include "NotesStore.h"
#include "SpeakerLabeler.h"
#include "TranscriptAssembler.h"

#include "audio/SectionWriter.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

std::optional<EnergyEnvelope> NoteAssembly::readEnvelope(const NotesStore& store,
                                                         const Note& note) {
    EnergyEnvelope envelope;
    envelope.frameMs = SectionWriterConfiguration{}.envelopeFrameMs;
    QList<NoteSection> sections = note.sections;
    std::ranges::stable_sort(sections, {}, &NoteSection::index);
    bool anyRead = false;
    for (const auto& section : sections) {
        if (const auto bytes = store.readSectionEnvelope(note.id, section.index)) {
            const SectionLevels levels = EnergyEnvelope::decode(*bytes);
            envelope.place(section.startMs, levels.microphone, levels.system);
            anyRead = true;
        } else {
            // A lost envelope must not lend the last frames read to the words
            // after them: its stretch reads as silence, and those words come
            // out "unclear" unless their neighbours settle them.
            envelope.place(section.endMs, {}, {});
        }
    }
    if (!anyRead)
        return std::nullopt;
    return envelope;
}

QList<NoteTurn> NoteAssembly::assemble(const Note& note,
                                       const std::optional<EnergyEnvelope>& envelope) {
    const QList<TimedWord> words = TranscriptAssembler::joinedWords(note.sections);
    QStringList speakers;
    if (note.source == NoteSource::call && envelope)
        speakers = SpeakerLabeler::label(words, *envelope);
    return TranscriptAssembler::turns(words, speakers);
}

std::expected<Note, NoteAssemblyError> NoteAssembly::run(NotesStore& store, const QUuid& id) {
    const auto note = store.load(id);
    if (!note)
        return std::unexpected(NoteAssemblyError{note.error().message});
    const bool transcribed =
        std::ranges::all_of(note->sections, [](const NoteSection& s) { return s.done; });
    if (!transcribed)
        return std::unexpected(
            NoteAssemblyError{u"This note’s sections are not all transcribed yet."_s});

    std::optional<EnergyEnvelope> envelope;
    if (note->source == NoteSource::call)
        envelope = readEnvelope(store, *note);
    const QList<NoteTurn> turns = assemble(*note, envelope);

    auto stored = store.update(id, [&](Note& current) {
        current.turns = turns;
        current.turnsFinal = true;
    });
    if (!stored)
        return std::unexpected(NoteAssemblyError{stored.error().message});
    return *stored;
}

} // namespace quendra
