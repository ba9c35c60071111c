#pragma once

#include "Tests/Support/PanelScene.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quoxelin::testing {

/// A state of the panel worth looking at. Tests/Golden/<name>.txt holds what it shows.
struct PanelState {
    /// In lower case with hyphens.
    std::string name;
    /// Brings a fresh scene into that state.
    std::function<void(PanelScene&)> arrange;

    std::unique_ptr<PanelScene> scene() const {
        auto scene = std::make_unique<PanelScene>();
        arrange(*scene);
        return scene;
    }
};

const std::vector<PanelState>& panelStates();

/// For the names of parameterised tests.
inline void PrintTo(const PanelState& state, std::ostream* out) {
    *out << state.name;
}

} // namespace quoxelin::testing
