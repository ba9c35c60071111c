#include "Runner/ViewModels/UpdaterViewModel.h"

#include "Platform/Updater.h"

namespace quoxelin {

UpdaterViewModel::UpdaterViewModel(SPUUpdater& updater) : updater(updater) {
    subscription =
        updater.observeCanCheckForUpdates([this](bool canCheck) { canCheckForUpdates = canCheck; });
}

void UpdaterViewModel::checkForUpdates() {
    updater.checkForUpdates();
}

} // namespace quoxelin
