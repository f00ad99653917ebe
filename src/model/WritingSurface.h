#pragma once

#include "RawValueEnum.h"

namespace quendra {

// The kind of place the text goes to; each may carry its own style.
enum class WritingSurface { email, messaging, slack, ai };

template <>
struct RawValueTable<WritingSurface> {
    static constexpr std::array<std::pair<WritingSurface, QStringView>, 4> entries{{
        {WritingSurface::email, u"email"},
        {WritingSurface::messaging, u"messaging"},
        {WritingSurface::slack, u"slack"},
        {WritingSurface::ai, u"ai"},
    }};
};

QString title(WritingSurface surface);

// The sections of the main window, in their order.
enum class AppSection { home, notes, words, history, settings };

template <>
struct RawValueTable<AppSection> {
    static constexpr std::array<std::pair<AppSection, QStringView>, 5> entries{{
        {AppSection::home, u"home"},
        {AppSection::notes, u"notes"},
        {AppSection::words, u"words"},
        {AppSection::history, u"history"},
        {AppSection::settings, u"settings"},
    }};
};

QString title(AppSection section);

} // namespace quendra
