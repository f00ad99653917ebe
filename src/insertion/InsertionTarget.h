#pragma once

#include "platform/Accessibility.h"
#include "platform/Workspace.h"

#include <QRectF>
#include <QString>

#include <optional>

namespace quendra {

// The remembered destination of a dictation.
struct InsertionTarget {
    RunningApplication application;
    Element element;
    std::optional<AccessibleRole> role;
    Element window;
    // Screen coordinates, origin at the top left of the primary screen.
    std::optional<QRectF> frame;
    // The page around the field, when it sits inside a web area.
    std::optional<QString> webAddress;
};

enum class TargetCaptureKind { ready, secureField, noEditableField };

struct TargetCapture {
    TargetCaptureKind kind = TargetCaptureKind::noEditableField;
    std::optional<InsertionTarget> target; // present when ready

    static TargetCapture ready(InsertionTarget target) {
        return {TargetCaptureKind::ready, std::move(target)};
    }
};

enum class TargetUpdateReason { manual, applicationChanged, focusChanged, geometryChanged };

struct TargetUpdate {
    std::optional<RunningApplication> application;
    Element element;
    TargetUpdateReason reason = TargetUpdateReason::manual;
};

enum class InsertionResult { inserted, blockedSecureField, failed };

QString toString(TargetUpdateReason reason);
QString toString(InsertionResult result);
QString toString(TargetCaptureKind kind);

} // namespace quendra
