#pragma once

#include "Tests/Support/PanelScene.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quoxelin::testing {

/// A state of the panel with the golden text Tests/Golden/<name>.txt.
struct PanelState {
    /// In lowercase with hyphens.
    std::string name;
    /// Brings a new scene into that state.
    std::function<void(PanelScene&)> arrange;

    std::unique_ptr<PanelScene> scene() const {
        auto scene = std::make_unique<PanelScene>();
        arrange(*scene);
        return scene;
    }
};

const std::vector<PanelState>& panelStates();

/// For the names of parameterized tests.
inline void PrintTo(const PanelState& state, std::ostream* out) {
    *out << state.name;
}

} // namespace quoxelin::testing
