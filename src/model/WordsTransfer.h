#pragma once

#include "DictionaryRecords.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <expected>
#include <optional>

namespace quendra {

class AppDataStore;

// Import and export of the Words and the voice snippets as CSV or JSON files.
//
// CSV follows RFC 4180 (UTF-8, a header row, cells with commas, quotes or line
// breaks in double quotes, a quote in a cell doubled). The Words have the
// header "spelling,spoken forms", with the spoken forms of a spelling one per
// line inside its second cell: stored forms never hold a line break. The
// snippets have the header "trigger,expansion".
// JSON is an array of the stored records: {"spelling", "spokenForms", "id"}
// and {"trigger", "expansion", "id"}; the identifier may be left out.
//
// An import reads and checks the whole file first and changes nothing when
// any of it is wrong; then it merges every entry in one change of the store.

enum class TransferFormat { csv, json };

// Why an import or export did not happen, as the user reads it.
struct TransferError {
    QString message;
};

enum class TransferList { words, snippets };

// What an import did: every entry of the file is new, merged into one that
// was already stored, or a repeat within the file merged into its first.
struct TransferSummary {
    TransferList list = TransferList::words;
    qsizetype added = 0;
    qsizetype merged = 0;
    qsizetype repeated = 0;

    qsizetype total() const { return added + merged + repeated; }
    // "Imported 120 words: 115 new, 5 merged with ones already there."
    QString sentence() const;
};

// Files larger than this are refused before they are read.
inline constexpr qint64 transferFileLimit = 20LL * 1000 * 1000;

// The format named by the file's extension (.csv or .json, in any case).
std::optional<TransferFormat> transferFormat(const QString& path);
// "csv" or "json"; none for anything else.
std::optional<TransferFormat> transferFormatNamed(const QString& name);

// The formats come from the files' extensions; an unknown one is an error.
std::expected<TransferSummary, TransferError> importDictionary(AppDataStore& store,
                                                               const QString& path);
std::expected<TransferSummary, TransferError> importSnippets(AppDataStore& store,
                                                             const QString& path);
std::expected<void, TransferError> exportDictionary(const AppDataStore& store, const QString& path);
std::expected<void, TransferError> exportSnippets(const AppDataStore& store, const QString& path);

// An import in two steps, for a window that must not wait: reading and
// checking the whole file (any thread), then one change of the store (the
// store's thread). The import functions above are these two together.
std::expected<QList<PersonalDictionaryEntry>, TransferError>
readDictionaryFile(const QString& path);
std::expected<QList<VoiceSnippet>, TransferError> readSnippetsFile(const QString& path);
std::expected<TransferSummary, TransferError>
mergeImported(AppDataStore& store, const QList<PersonalDictionaryEntry>& entries);
std::expected<TransferSummary, TransferError> mergeImported(AppDataStore& store,
                                                            const QList<VoiceSnippet>& snippets);

// The same with the format given.
std::expected<TransferSummary, TransferError>
importDictionary(AppDataStore& store, const QString& path, TransferFormat format);
std::expected<TransferSummary, TransferError>
importSnippets(AppDataStore& store, const QString& path, TransferFormat format);
std::expected<void, TransferError> exportDictionary(const AppDataStore& store, const QString& path,
                                                    TransferFormat format);
std::expected<void, TransferError> exportSnippets(const AppDataStore& store, const QString& path,
                                                  TransferFormat format);

// The file contents themselves, for standard output and for tests. Parsing
// names `shownName` in its sentences.
QByteArray encodeDictionary(const QList<PersonalDictionaryEntry>& entries, TransferFormat format);
QByteArray encodeSnippets(const QList<VoiceSnippet>& snippets, TransferFormat format);
std::expected<QList<PersonalDictionaryEntry>, TransferError>
parseDictionary(const QByteArray& bytes, TransferFormat format, const QString& shownName);
std::expected<QList<VoiceSnippet>, TransferError>
parseSnippets(const QByteArray& bytes, TransferFormat format, const QString& shownName);

} // namespace quendra
