#pragma once

#include "Runner/ViewModels/UpdaterViewModel.h"
#include "Runner/Views/QuoxelinMenuBarContent.h"
#include "Tests/Support/Surroundings.h"

#include <memory>

namespace quoxelin::testing {

/// The panel's content with all that it shows, under the test's control. Fresh, it shows a person
/// who is not logged in, on a machine where nothing is amiss.
struct PanelScene : Surroundings {
    PanelScene();

    /// What the panel shows now.
    ViewNode tree() { return content->body(); }

    /// Somebody who has logged in, on a machine that is connected.
    void logIn();
    void edit(const std::function<void(LoginViewState&)>& change);

    std::unique_ptr<SPUStandardUpdaterController> updaterController;
    std::shared_ptr<UpdaterViewModel> updaterVM;
    std::shared_ptr<QuoxelinMenuBarContent> content;
};

} // namespace quoxelin::testing
