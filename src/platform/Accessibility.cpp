#include "Accessibility.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

bool sameElement(const Element& a, const Element& b) {
    if (!a || !b)
        return !a && !b;
    return a == b || a->equals(*b);
}

QString toString(AccessibleRole role) {
    switch (role) {
    case AccessibleRole::application:
        return u"application"_s;
    case AccessibleRole::window:
        return u"window"_s;
    case AccessibleRole::entry:
        return u"entry"_s;
    case AccessibleRole::text:
        return u"text"_s;
    case AccessibleRole::passwordText:
        return u"password-text"_s;
    case AccessibleRole::terminal:
        return u"terminal"_s;
    case AccessibleRole::spinButton:
        return u"spin-button"_s;
    case AccessibleRole::comboBox:
        return u"combo-box"_s;
    case AccessibleRole::pushButton:
        return u"push-button"_s;
    case AccessibleRole::toggleButton:
        return u"toggle-button"_s;
    case AccessibleRole::checkBox:
        return u"check-box"_s;
    case AccessibleRole::radioButton:
        return u"radio-button"_s;
    case AccessibleRole::link:
        return u"link"_s;
    case AccessibleRole::menu:
        return u"menu"_s;
    case AccessibleRole::scrollBar:
        return u"scroll-bar"_s;
    case AccessibleRole::slider:
        return u"slider"_s;
    case AccessibleRole::pageTab:
        return u"page-tab"_s;
    case AccessibleRole::label:
        return u"label"_s;
    case AccessibleRole::documentWeb:
        return u"document-web"_s;
    case AccessibleRole::other:
        return u"other"_s;
    }
    return {};
}

QString toString(FocusError error) {
    switch (error) {
    case FocusError::noElement:
        return u"noElement"_s;
    case FocusError::notFocusable:
        return u"notFocusable"_s;
    case FocusError::refused:
        return u"refused"_s;
    }
    return {};
}

} // namespace quendra
