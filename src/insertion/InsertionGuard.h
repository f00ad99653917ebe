#pragma once

#include <QRectF>
#include <QString>

#include <optional>

namespace quendra {

// Which fields may receive text.
namespace InsertionGuard {
bool isSecure(const std::optional<QString>& role, const std::optional<QString>& subrole);
bool isEditable(const std::optional<QString>& role, bool selectedTextSettable);
} // namespace InsertionGuard

namespace ReplacementTargetMatch {
// Two frames of one window that overlap by at least 80 % of the smaller one.
bool isSameField(const std::optional<QRectF>& originalFrame,
                 const std::optional<QRectF>& candidateFrame, bool sameWindow);
} // namespace ReplacementTargetMatch

} // namespace quendra
