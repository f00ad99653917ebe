#pragma once

#include "RawValueEnum.h"

#include <QString>

#include <optional>

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

// The applications Parlevo knows, in one table: where the text written in
// each goes, and whether it holds calls. Insertion, text finishing, the
// hosted service and the call hints all read it, so they cannot disagree.
// The table sits with the surfaces because the sound side reads it too.
namespace WritingDestinations {

struct Application {
    std::optional<WritingSurface> surface; // none: an ordinary text field
    std::optional<QString> callName;       // set for applications that hold calls
};

// `id` is a desktop application id, window class, executable or process
// name, Flatpak id, bundle identifier or "web:host". Case does not matter.
// Whole names are matched first, then reverse-domain prefixes in order.
std::optional<Application> find(const QString& id);
std::optional<WritingSurface> detect(const QString& id);

// How the finishing scripts and the hosted service name a surface; an
// ordinary field is "generic".
QString surfaceName(std::optional<WritingSurface> surface);

} // namespace WritingDestinations

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
