#include "InsertionTarget.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString toString(TargetUpdateReason reason) {
    switch (reason) {
    case TargetUpdateReason::manual:
        return u"manual"_s;
    case TargetUpdateReason::applicationChanged:
        return u"applicationChanged"_s;
    case TargetUpdateReason::focusChanged:
        return u"focusChanged"_s;
    case TargetUpdateReason::geometryChanged:
        return u"geometryChanged"_s;
    }
    return {};
}

QString toString(InsertionResult result) {
    switch (result) {
    case InsertionResult::inserted:
        return u"inserted"_s;
    case InsertionResult::blockedSecureField:
        return u"blockedSecureField"_s;
    case InsertionResult::failed:
        return u"failed"_s;
    }
    return {};
}

QString toString(TargetCaptureKind kind) {
    switch (kind) {
    case TargetCaptureKind::ready:
        return u"ready"_s;
    case TargetCaptureKind::secureField:
        return u"secureField"_s;
    case TargetCaptureKind::noEditableField:
        return u"noEditableField"_s;
    }
    return {};
}

} // namespace quendra
