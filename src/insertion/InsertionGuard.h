#pragma once

#include "platform/Accessibility.h"

#include <QRectF>

#include <optional>

namespace quendra {

// Which fields may receive text.
namespace InsertionGuard {
bool isSecure(const std::optional<AccessibleRole>& role);
// A field that takes text: one whose selection can be written, or one of the
// text roles; never a password field.
bool isEditable(const std::optional<AccessibleRole>& role, bool selectedTextSettable);
} // namespace InsertionGuard

namespace ReplacementTargetMatch {
// Two frames of one window that overlap by at least 80 % of the smaller one.
bool isSameField(const std::optional<QRectF>& originalFrame,
                 const std::optional<QRectF>& candidateFrame, bool sameWindow);
} // namespace ReplacementTargetMatch

} // namespace quendra
