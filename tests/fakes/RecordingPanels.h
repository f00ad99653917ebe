#pragma once

#include "dictation/DictationPanels.h"

#include <QStringList>

#include <optional>

namespace quendra {

// Remembers what the floating windows were asked to show, in order.
class RecordingPanels : public DictationPanels {
public:
    void showHud(const HudState& state, const std::optional<InsertionTarget>&) override {
        hud = state;
        calls << QStringLiteral("hud");
    }
    void hideHud() override {
        hud.reset();
        calls << QStringLiteral("hideHud");
    }
    void showPlacement(const QString& message) override { placement = message; }
    void hidePlacement() override { placement.clear(); }
    void showAlert(const DictationAlert& shown) override { alert = shown; }
    void dismissAlert() override { alert.reset(); }
    void showFieldMicrophone(const InsertionTarget&) override { microphone = true; }
    void hideFieldMicrophone() override { microphone = false; }

    std::optional<HudState> hud;
    std::optional<DictationAlert> alert;
    QString placement;
    bool microphone = false;
    QStringList calls;
};

} // namespace quendra
