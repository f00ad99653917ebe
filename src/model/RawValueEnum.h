#pragma once

// Enumerations with a fixed raw value per case. Each enumeration specialises
// RawValueTable with its cases in their display order; the functions below
// then give the raw value, the case of a raw value, the list of cases and the
// JSON codec. An unknown raw value is no case.

#include "Json.h"

#include <QString>
#include <QStringView>

#include <array>
#include <optional>
#include <stdexcept>
#include <utility>

namespace quendra {

template <typename E>
struct RawValueTable;

template <typename E>
concept RawValueEnum = requires {
    RawValueTable<E>::entries;
};

template <RawValueEnum E>
constexpr auto allCases() {
    std::array<E, RawValueTable<E>::entries.size()> cases{};
    for (size_t i = 0; i < cases.size(); ++i)
        cases[i] = RawValueTable<E>::entries[i].first;
    return cases;
}

template <RawValueEnum E>
auto rawValue(E value) {
    for (const auto& [c, raw] : RawValueTable<E>::entries)
        if (c == value)
            return raw;
    return decltype(RawValueTable<E>::entries[0].second){};
}

template <RawValueEnum E, typename Raw>
std::optional<E> fromRawValue(const Raw& raw) {
    for (const auto& [c, r] : RawValueTable<E>::entries)
        if (r == raw)
            return c;
    return std::nullopt;
}

template <RawValueEnum E>
void to_json(Json& j, E value) {
    if constexpr (std::is_integral_v<decltype(rawValue(value))>)
        j = rawValue(value);
    else
        j = rawValue(value).toString();
}

template <RawValueEnum E>
void from_json(const Json& j, E& value) {
    std::optional<E> decoded;
    using Raw = std::remove_cvref_t<decltype(RawValueTable<E>::entries[0].second)>;
    if constexpr (std::is_integral_v<Raw>) {
        if (j.is_number_integer())
            decoded = fromRawValue<E>(j.template get<Raw>());
    } else if (j.is_string()) {
        decoded = fromRawValue<E>(QString::fromStdString(j.template get<std::string>()));
    }
    if (!decoded)
        throw std::invalid_argument("unknown raw value");
    value = *decoded;
}

} // namespace quendra
