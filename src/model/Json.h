#pragma once

// JSON adapters shared by every stored record: Qt value types in
// nlohmann::ordered_json, and lenient field readers that never throw.

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUuid>

#include <nlohmann/json.hpp>

#include <optional>
#include <string_view>

namespace nlohmann {

template <>
struct adl_serializer<QString> {
    template <typename Json>
    static void to_json(Json& j, const QString& s) {
        j = s.toStdString();
    }
    template <typename Json>
    static void from_json(const Json& j, QString& s) {
        s = QString::fromStdString(j.template get<std::string>());
    }
};

// UUIDs are written in their canonical upper-case form, without braces.
template <>
struct adl_serializer<QUuid> {
    template <typename Json>
    static void to_json(Json& j, const QUuid& u) {
        j = u.toString(QUuid::WithoutBraces).toUpper().toStdString();
    }
    template <typename Json>
    static void from_json(const Json& j, QUuid& u) {
        u = QUuid::fromString(QString::fromStdString(j.template get<std::string>()));
        if (u.isNull())
            throw std::invalid_argument("not a UUID");
    }
};

} // namespace nlohmann

namespace quendra {

using Json = nlohmann::ordered_json;

QString uuidText(const QUuid& id);

// Dates of the dictation records: seconds since 2001-01-01 00:00 UTC as a
// number, the default date form of the stored data this format came from.
double referenceSeconds(const QDateTime& date);
QDateTime dateFromReferenceSeconds(double seconds);

// Parsing, copying and printing a value recurse once per level; a crafted
// file nested thousands deep would end the process on its stack.
inline constexpr int jsonNestingLimit = 128;
// Whether arrays and objects in `bytes` nest deeper than jsonNestingLimit,
// found without parsing.
bool jsonNestsTooDeep(std::string_view bytes);

// Parses bytes as JSON; none on any syntax error or nesting deeper than any
// stored record needs.
std::optional<Json> parseJson(std::string_view bytes);
std::optional<Json> parseJson(const QByteArray& bytes);
std::optional<Json> parseJsonText(const QString& text);
QByteArray jsonBytes(const Json& j, int indent = -1);

// Reads `key` of an object as T; none when it is missing, null or of another type.
template <typename T>
std::optional<T> field(const Json& object, std::string_view key) {
    if (!object.is_object())
        return std::nullopt;
    auto it = object.find(key);
    if (it == object.end() || it->is_null())
        return std::nullopt;
    try {
        return it->template get<T>();
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

template <typename T>
T fieldOr(const Json& object, std::string_view key, T fallback) {
    auto value = field<T>(object, key);
    return value ? std::move(*value) : std::move(fallback);
}

// Reads a field a record cannot do without; throws std::invalid_argument when
// it is missing or of another type (caught by the list decoders).
template <typename T>
T requiredField(const Json& object, std::string_view key) {
    auto value = field<T>(object, key);
    if (!value)
        throw std::invalid_argument("missing required field");
    return std::move(*value);
}

// The elements of a JSON array that decode as T; an element that does not
// costs only itself, never the rest of the list. `whole`, when given, becomes
// false if anything was dropped.
template <typename T>
QList<T> decodeElements(const Json& array, bool* whole = nullptr) {
    QList<T> list;
    if (!array.is_array()) {
        if (whole)
            *whole = false;
        return list;
    }
    list.reserve(static_cast<qsizetype>(array.size()));
    for (const auto& element : array) {
        try {
            list.append(element.template get<T>());
            continue;
        } catch (const nlohmann::json::exception&) {
        } catch (const std::invalid_argument&) {
        }
        if (whole)
            *whole = false;
    }
    return list;
}

// Integers stored as JSON numbers; a float with an integral value is accepted,
// anything else is not.
std::optional<qint64> integerField(const Json& object, std::string_view key);
qint64 requiredInteger(const Json& object, std::string_view key);
// A required integer that must also fit an int.
int requiredInt(const Json& object, std::string_view key);

} // namespace quendra
