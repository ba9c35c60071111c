#pragma once

#include "Runner/ViewModels/UpdaterViewModel.h"
#include "Runner/Views/QuoxelinMenuBarContent.h"
#include "Tests/Support/Surroundings.h"

#include <memory>

namespace quoxelin::testing {

/// The panel's content and everything it shows, controlled by the test. By default no user is
/// logged in and nothing is wrong.
struct PanelScene : Surroundings {
    PanelScene();

    /// The panel's current tree.
    ViewNode tree() { return content->body(); }

    /// Logs a user in on a connected machine.
    void logIn();
    void edit(const std::function<void(LoginViewState&)>& change);

    std::unique_ptr<SPUStandardUpdaterController> updaterController;
    std::shared_ptr<UpdaterViewModel> updaterVM;
    std::shared_ptr<QuoxelinMenuBarContent> content;
};

} // namespace quoxelin::testing
