#include "InsertionGuard.h"

#include <algorithm>

namespace quendra {

bool InsertionGuard::isSecure(const std::optional<AccessibleRole>& role) {
    return role == AccessibleRole::passwordText;
}

bool InsertionGuard::isEditable(const std::optional<AccessibleRole>& role,
                                bool selectedTextSettable) {
    if (isSecure(role))
        return false;
    if (selectedTextSettable)
        return true;
    switch (role.value_or(AccessibleRole::other)) {
    case AccessibleRole::entry:
    case AccessibleRole::text:
    case AccessibleRole::terminal:
    case AccessibleRole::spinButton:
    case AccessibleRole::comboBox:
        return true;
    default:
        return false;
    }
}

bool ReplacementTargetMatch::isSameField(const std::optional<QRectF>& originalFrame,
                                         const std::optional<QRectF>& candidateFrame,
                                         bool sameWindow) {
    if (!sameWindow || !originalFrame || !candidateFrame)
        return false;
    const QRectF& a = *originalFrame;
    const QRectF& b = *candidateFrame;
    if (a.width() <= 0 || a.height() <= 0 || b.width() <= 0 || b.height() <= 0)
        return false;
    const QRectF overlap = a.intersected(b);
    const double overlapArea = overlap.isValid() ? overlap.width() * overlap.height() : 0.0;
    const double smaller = std::min(a.width() * a.height(), b.width() * b.height());
    return overlapArea / smaller >= 0.8;
}

} // namespace quendra
