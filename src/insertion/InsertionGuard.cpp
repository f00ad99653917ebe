#include "InsertionGuard.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

bool InsertionGuard::isSecure(const std::optional<QString>& role,
                              const std::optional<QString>& subrole) {
    QStringList present;
    if (role)
        present << role->toLower();
    if (subrole)
        present << subrole->toLower();
    const QString joined = present.join(u' ');
    return joined.contains(u"secure"_s) || joined.contains(u"password"_s);
}

bool InsertionGuard::isEditable(const std::optional<QString>& role, bool selectedTextSettable) {
    if (isSecure(role, std::nullopt))
        return false;
    if (selectedTextSettable)
        return true;
    if (!role)
        return false;
    return role->startsWith(u"AXText"_s) || *role == u"AXComboBox"_s;
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
