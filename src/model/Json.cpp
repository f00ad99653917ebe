#include "Json.h"

#include <cmath>
#include <limits>

namespace quendra {

namespace {
const QDateTime referenceDate = QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
}

QString uuidText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

double referenceSeconds(const QDateTime& date) {
    return static_cast<double>(referenceDate.msecsTo(date)) / 1000.0;
}

QDateTime dateFromReferenceSeconds(double seconds) {
    return referenceDate.addMSecs(static_cast<qint64>(std::llround(seconds * 1000.0)));
}

bool jsonNestsTooDeep(std::string_view bytes) {
    int depth = 0;
    bool inString = false;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const char c = bytes[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > jsonNestingLimit)
                return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

std::optional<Json> parseJson(std::string_view bytes) {
    if (jsonNestsTooDeep(bytes))
        return std::nullopt;
    Json j = Json::parse(bytes.begin(), bytes.end(), nullptr, false);
    if (j.is_discarded())
        return std::nullopt;
    return j;
}

std::optional<Json> parseJson(const QByteArray& bytes) {
    return parseJson(std::string_view(bytes.constData(), static_cast<size_t>(bytes.size())));
}

std::optional<Json> parseJsonText(const QString& text) {
    return parseJson(text.toUtf8());
}

QByteArray jsonBytes(const Json& j, int indent) {
    const std::string text = j.dump(indent, ' ', false, Json::error_handler_t::replace);
    return QByteArray(text.data(), static_cast<qsizetype>(text.size()));
}

std::optional<qint64> integerField(const Json& object, std::string_view key) {
    if (!object.is_object())
        return std::nullopt;
    auto it = object.find(key);
    if (it == object.end())
        return std::nullopt;
    if (it->is_number_unsigned() && it->template get<quint64>() > quint64(INT64_MAX))
        return std::nullopt;
    if (it->is_number_integer())
        return it->template get<qint64>();
    if (it->is_number_float()) {
        const double d = it->template get<double>();
        if (std::isfinite(d) && d == std::trunc(d) && std::fabs(d) < 9.2e18)
            return static_cast<qint64>(d);
    }
    return std::nullopt;
}

qint64 requiredInteger(const Json& object, std::string_view key) {
    auto value = integerField(object, key);
    if (!value)
        throw std::invalid_argument("missing integer");
    return *value;
}

int requiredInt(const Json& object, std::string_view key) {
    const qint64 value = requiredInteger(object, key);
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max())
        throw std::invalid_argument("integer out of range");
    return static_cast<int>(value);
}

} // namespace quendra
