#include "WordsTransfer.h"

#include "AppDataStore.h"
#include "CsvTable.h"
#include "DurableFile.h"

#include <QFileInfo>
#include <QStringDecoder>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const QStringList dictionaryHeader{u"spelling"_s, u"spoken forms"_s};
const QStringList snippetsHeader{u"trigger"_s, u"expansion"_s};

// What one list needs to be read from a file and stored.
template <typename T>
struct ListTraits;

// The reason a file was refused, whole: "Could not import F: REASON. Nothing was changed."
TransferError refusal(const QString& shownName, const QString& reason) {
    return {u"Could not import %1: %2. Nothing was changed."_s.arg(shownName, reason)};
}

QString lowerFirst(QString sentence) {
    if (!sentence.isEmpty())
        sentence[0] = sentence[0].toLower();
    if (sentence.endsWith(u'.'))
        sentence.chop(1);
    return sentence;
}

// The text of the file, or the first line that is not UTF-8. A line break
// byte never occurs inside a UTF-8 sequence, so lines decode on their own.
std::expected<QString, qsizetype> utf8Text(const QByteArray& bytes) {
    QStringDecoder whole(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = whole.decode(bytes);
    if (!whole.hasError()) {
        if (text.startsWith(QChar::ByteOrderMark))
            text.remove(0, 1);
        return text;
    }
    qsizetype line = 1;
    for (const QByteArray& part : bytes.split('\n')) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString decoded = decoder.decode(part); // decodes only when taken
        if (decoder.hasError())
            return std::unexpected(line);
        ++line;
    }
    return std::unexpected(line - 1);
}

qsizetype lineAt(const QByteArray& bytes, size_t offset) {
    const auto end = static_cast<qsizetype>(std::min<size_t>(offset, size_t(bytes.size())));
    return QByteArrayView(bytes).first(end).count('\n') + 1;
}

std::optional<QString> textField(const Json& object, const char* name) {
    const auto it = object.find(name);
    if (it == object.end() || !it->is_string())
        return std::nullopt;
    return QString::fromStdString(it->get<std::string>());
}

// An identifier kept from the file when it is one; a new one is given otherwise.
QUuid idField(const Json& object) {
    const auto id = textField(object, "id");
    return id ? QUuid::fromString(*id) : QUuid();
}

template <>
struct ListTraits<PersonalDictionaryEntry> {
    static constexpr auto noun = "words";
    static const QStringList& header() { return dictionaryHeader; }

    static QStringList cells(const PersonalDictionaryEntry& e) {
        return {e.spelling, e.spokenForms.join(u'\n')};
    }
    static PersonalDictionaryEntry fromCells(const QStringList& cells) {
        QStringList forms;
        for (const QString& form : QString(cells[1]).replace(u'\r', u'\n').split(u'\n'))
            if (!form.trimmed().isEmpty())
                forms << form.trimmed();
        return {QUuid(), cells[0], forms};
    }
    static std::expected<PersonalDictionaryEntry, QString> fromJson(const Json& element) {
        const auto spelling = textField(element, "spelling");
        if (!spelling)
            return std::unexpected(u"has no “spelling” text"_s);
        QStringList forms;
        if (const auto it = element.find("spokenForms"); it != element.end() && !it->is_null()) {
            if (!it->is_array())
                return std::unexpected(u"has “spokenForms” that are not a list of texts"_s);
            for (const auto& form : *it) {
                if (!form.is_string())
                    return std::unexpected(u"has “spokenForms” that are not a list of texts"_s);
                forms << QString::fromStdString(form.get<std::string>());
            }
        }
        return PersonalDictionaryEntry{idField(element), *spelling, forms};
    }
    // The sentence of an entry the store would not keep.
    static std::optional<QString> problem(const PersonalDictionaryEntry& e) {
        if (AppDataStore::normalisedEntry(e))
            return std::nullopt;
        return u"the spelling is empty"_s;
    }
    static StoreResult<ImportCounts> merge(AppDataStore& store,
                                           const QList<PersonalDictionaryEntry>& list) {
        return store.mergeDictionary(list);
    }
};

template <>
struct ListTraits<VoiceSnippet> {
    static constexpr auto noun = "snippets";
    static const QStringList& header() { return snippetsHeader; }

    static QStringList cells(const VoiceSnippet& s) { return {s.trigger, s.expansion}; }
    static VoiceSnippet fromCells(const QStringList& cells) {
        return {QUuid(), cells[0], cells[1]};
    }
    static std::expected<VoiceSnippet, QString> fromJson(const Json& element) {
        const auto trigger = textField(element, "trigger");
        if (!trigger)
            return std::unexpected(u"has no “trigger” text"_s);
        const auto expansion = textField(element, "expansion");
        if (!expansion)
            return std::unexpected(u"has no “expansion” text"_s);
        return VoiceSnippet{idField(element), *trigger, *expansion};
    }
    static std::optional<QString> problem(const VoiceSnippet& s) {
        const auto bound = AppDataStore::boundSnippet(s);
        if (bound)
            return std::nullopt;
        return lowerFirst(bound.error().message);
    }
    static StoreResult<ImportCounts> merge(AppDataStore& store, const QList<VoiceSnippet>& list) {
        return store.mergeSnippets(list);
    }
};

template <typename T>
std::expected<QList<T>, TransferError> parseCsv(const QString& text, const QString& shownName) {
    using Traits = ListTraits<T>;
    auto rows = CsvTable::parse(text);
    if (!rows)
        return std::unexpected(refusal(shownName, rows.error().reason));
    if (rows->isEmpty())
        return std::unexpected(refusal(shownName, u"it is empty"_s));
    const QString headerText = Traits::header().join(u',');
    QStringList header;
    for (const QString& cell : rows->first().cells)
        header << cell.trimmed().toLower();
    if (header != Traits::header())
        return std::unexpected(
            refusal(shownName, u"its first line is not the header “%1”"_s.arg(headerText)));
    QList<T> list;
    list.reserve(rows->size() - 1);
    for (qsizetype r = 1; r < rows->size(); ++r) {
        const CsvTable::Row& row = (*rows)[r];
        if (row.cells.size() != Traits::header().size())
            return std::unexpected(
                refusal(shownName, u"line %1 has %2 cells, not %3 (%4)"_s.arg(
                                       QString::number(row.line), QString::number(row.cells.size()),
                                       QString::number(Traits::header().size()),
                                       Traits::header().join(u", "_s))));
        T element = Traits::fromCells(row.cells);
        if (const auto problem = Traits::problem(element))
            return std::unexpected(
                refusal(shownName, u"line %1: %2"_s.arg(row.line).arg(*problem)));
        list.append(std::move(element));
    }
    return list;
}

template <typename T>
std::expected<QList<T>, TransferError> parseJsonList(const QByteArray& bytes,
                                                     const QString& shownName) {
    using Traits = ListTraits<T>;
    const std::string_view view(bytes.constData(), size_t(bytes.size()));
    if (jsonNestsTooDeep(view))
        return std::unexpected(refusal(shownName, u"it nests deeper than a list of %1 does"_s.arg(
                                                      QLatin1StringView(Traits::noun))));
    Json json;
    try {
        json = Json::parse(view);
    } catch (const nlohmann::json::parse_error& e) {
        return std::unexpected(
            refusal(shownName, u"it is not valid JSON (line %1)"_s.arg(lineAt(bytes, e.byte))));
    }
    if (!json.is_array())
        return std::unexpected(refusal(
            shownName, u"it is not a JSON array of %1"_s.arg(QLatin1StringView(Traits::noun))));
    QList<T> list;
    list.reserve(qsizetype(json.size()));
    qsizetype position = 0;
    for (const Json& element : json) {
        ++position;
        if (!element.is_object())
            return std::unexpected(
                refusal(shownName, u"element %1 of the array is not an object"_s.arg(position)));
        auto decoded = Traits::fromJson(element);
        if (!decoded)
            return std::unexpected(refusal(
                shownName, u"element %1 of the array %2"_s.arg(position).arg(decoded.error())));
        if (const auto problem = Traits::problem(*decoded))
            return std::unexpected(
                refusal(shownName, u"element %1 of the array: %2"_s.arg(position).arg(*problem)));
        list.append(std::move(*decoded));
    }
    return list;
}

template <typename T>
std::expected<QList<T>, TransferError> parseList(const QByteArray& bytes, TransferFormat format,
                                                 const QString& shownName) {
    auto text = utf8Text(bytes);
    if (!text)
        return std::unexpected(refusal(
            shownName, u"line %1 is not UTF-8 text; save the file as UTF-8"_s.arg(text.error())));
    if (format == TransferFormat::csv)
        return parseCsv<T>(*text, shownName);
    return parseJsonList<T>(bytes, shownName);
}

template <typename T>
QByteArray encodeList(const QList<T>& list, TransferFormat format) {
    if (format == TransferFormat::json)
        return jsonBytes(Json(list), 2) + '\n';
    QList<QStringList> rows{ListTraits<T>::header()};
    rows.reserve(list.size() + 1);
    for (const T& element : list)
        rows << ListTraits<T>::cells(element);
    return CsvTable::encode(rows);
}

TransferError unknownFormat() {
    return {u"Choose a .csv or .json file."_s};
}

template <typename T>
std::expected<QList<T>, TransferError> readList(const QString& path) {
    const auto format = transferFormat(path);
    if (!format)
        return std::unexpected(unknownFormat());
    auto bytes = DurableFile::read(path, transferFileLimit);
    if (!bytes)
        return std::unexpected(TransferError{bytes.error().message});
    return parseList<T>(*bytes, *format, path);
}

template <typename T>
std::expected<TransferSummary, TransferError> mergeList(AppDataStore& store, const QList<T>& list) {
    auto counts = ListTraits<T>::merge(store, list);
    if (!counts)
        return std::unexpected(TransferError{counts.error().message + u" Nothing was changed."_s});
    return TransferSummary{std::is_same_v<T, VoiceSnippet> ? TransferList::snippets
                                                           : TransferList::words,
                           counts->added, counts->merged, counts->repeated};
}

template <typename T>
std::expected<TransferSummary, TransferError> importList(AppDataStore& store, const QString& path,
                                                         TransferFormat format) {
    auto bytes = DurableFile::read(path, transferFileLimit);
    if (!bytes)
        return std::unexpected(TransferError{bytes.error().message});
    auto list = parseList<T>(*bytes, format, path);
    if (!list)
        return std::unexpected(list.error());
    return mergeList(store, *list);
}

std::expected<void, TransferError> writeFile(const QString& path, const QByteArray& bytes) {
    if (auto saved = DurableFile::write(path, bytes); !saved)
        return std::unexpected(TransferError{saved.error().message});
    return {};
}

// Exporting a list that could not be read would write an empty one.
std::optional<TransferError> unreadableStore(const AppDataStore& store) {
    if (const auto& problem = store.defaults().readProblem())
        return TransferError{problem->message};
    return std::nullopt;
}

} // namespace

QString TransferSummary::sentence() const {
    const bool words = list == TransferList::words;
    if (total() == 0)
        return words ? u"The file holds no words; nothing was imported."_s
                     : u"The file holds no snippets; nothing was imported."_s;
    QStringList parts;
    if (added > 0)
        parts << u"%1 new"_s.arg(added);
    if (merged > 0)
        parts << (words ? u"%1 merged with ones already there"_s
                        : u"%1 replaced the expansion of one already there"_s)
                     .arg(merged);
    if (repeated > 0)
        parts << (words ? u"%1 repeated in the file and merged"_s
                        : u"%1 repeated a trigger in the file (the last one is kept)"_s)
                     .arg(repeated);
    const QString noun = words ? (total() == 1 ? u"word"_s : u"words"_s)
                               : (total() == 1 ? u"snippet"_s : u"snippets"_s);
    return u"Imported %1 %2: %3."_s.arg(total()).arg(noun, parts.join(u", "_s));
}

std::optional<TransferFormat> transferFormat(const QString& path) {
    return transferFormatNamed(QFileInfo(path).suffix());
}

std::optional<TransferFormat> transferFormatNamed(const QString& name) {
    if (name.compare(u"csv"_s, Qt::CaseInsensitive) == 0)
        return TransferFormat::csv;
    if (name.compare(u"json"_s, Qt::CaseInsensitive) == 0)
        return TransferFormat::json;
    return std::nullopt;
}

QByteArray encodeDictionary(const QList<PersonalDictionaryEntry>& entries, TransferFormat format) {
    return encodeList(entries, format);
}

QByteArray encodeSnippets(const QList<VoiceSnippet>& snippets, TransferFormat format) {
    return encodeList(snippets, format);
}

std::expected<QList<PersonalDictionaryEntry>, TransferError>
parseDictionary(const QByteArray& bytes, TransferFormat format, const QString& shownName) {
    return parseList<PersonalDictionaryEntry>(bytes, format, shownName);
}

std::expected<QList<VoiceSnippet>, TransferError>
parseSnippets(const QByteArray& bytes, TransferFormat format, const QString& shownName) {
    return parseList<VoiceSnippet>(bytes, format, shownName);
}

std::expected<TransferSummary, TransferError>
importDictionary(AppDataStore& store, const QString& path, TransferFormat format) {
    return importList<PersonalDictionaryEntry>(store, path, format);
}

std::expected<TransferSummary, TransferError>
importSnippets(AppDataStore& store, const QString& path, TransferFormat format) {
    return importList<VoiceSnippet>(store, path, format);
}

std::expected<TransferSummary, TransferError> importDictionary(AppDataStore& store,
                                                               const QString& path) {
    const auto format = transferFormat(path);
    if (!format)
        return std::unexpected(unknownFormat());
    return importDictionary(store, path, *format);
}

std::expected<TransferSummary, TransferError> importSnippets(AppDataStore& store,
                                                             const QString& path) {
    const auto format = transferFormat(path);
    if (!format)
        return std::unexpected(unknownFormat());
    return importSnippets(store, path, *format);
}

std::expected<QList<PersonalDictionaryEntry>, TransferError>
readDictionaryFile(const QString& path) {
    return readList<PersonalDictionaryEntry>(path);
}

std::expected<QList<VoiceSnippet>, TransferError> readSnippetsFile(const QString& path) {
    return readList<VoiceSnippet>(path);
}

std::expected<TransferSummary, TransferError>
mergeImported(AppDataStore& store, const QList<PersonalDictionaryEntry>& entries) {
    return mergeList(store, entries);
}

std::expected<TransferSummary, TransferError> mergeImported(AppDataStore& store,
                                                            const QList<VoiceSnippet>& snippets) {
    return mergeList(store, snippets);
}

std::expected<void, TransferError> exportDictionary(const AppDataStore& store, const QString& path,
                                                    TransferFormat format) {
    if (auto problem = unreadableStore(store))
        return std::unexpected(*problem);
    return writeFile(path, encodeDictionary(store.dictionaryEntries(), format));
}

std::expected<void, TransferError> exportSnippets(const AppDataStore& store, const QString& path,
                                                  TransferFormat format) {
    if (auto problem = unreadableStore(store))
        return std::unexpected(*problem);
    return writeFile(path, encodeSnippets(store.snippets(), format));
}

std::expected<void, TransferError> exportDictionary(const AppDataStore& store,
                                                    const QString& path) {
    const auto format = transferFormat(path);
    if (!format)
        return std::unexpected(unknownFormat());
    return exportDictionary(store, path, *format);
}

std::expected<void, TransferError> exportSnippets(const AppDataStore& store, const QString& path) {
    const auto format = transferFormat(path);
    if (!format)
        return std::unexpected(unknownFormat());
    return exportSnippets(store, path, *format);
}

} // namespace quendra
