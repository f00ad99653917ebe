#pragma once

// The assembly step of note processing: once every section of a note is
// transcribed, its words become the final transcript turns, each labelled
// with its speaker from the sections' level envelopes.

#include "EnergyEnvelope.h"

#include "model/Note.h"

#include <QString>
#include <QUuid>

#include <expected>
#include <optional>

namespace quendra {

class NotesStore;

struct NoteAssemblyError {
    QString message;
};

class NoteAssembly {
public:
    // Stores the assembled turns with `turnsFinal` set and returns the note as
    // stored. Fails without touching the note when it is missing or a section
    // is not transcribed yet.
    static std::expected<Note, NoteAssemblyError> run(NotesStore& store, const QUuid& id);

    // The turns of a note whose sections are all transcribed. `envelope` is
    // none when no level data is available; the words are then left to the
    // room label, as nothing tells the two sources apart.
    static QList<NoteTurn> assemble(const Note& note,
                                    const std::optional<EnergyEnvelope>& envelope);

    // The whole note's levels from its sections' envelope files; none when not
    // a single file could be read.
    static std::optional<EnergyEnvelope> readEnvelope(const NotesStore& store, const Note& note);
};

} // namespace quendra
