#include "Accessibility.h"

namespace quendra {

bool sameElement(const Element& a, const Element& b) {
    if (!a || !b)
        return !a && !b;
    return a == b || a->equals(*b);
}

} // namespace quendra
