#pragma once

#include "model/WritingSurface.h"

#include <QString>

#include <optional>

namespace quendra {

// Known places where people write: desktop application ids, window classes
// and executables, and "web:" host keys, each with its writing surface.
namespace WritingDestinations {
// Case does not matter: window classes come in several spellings.
std::optional<WritingSurface> detect(const QString& key);
} // namespace WritingDestinations

} // namespace quendra
