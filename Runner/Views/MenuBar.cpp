#include "Runner/Views/MenuBar.h"

#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Stores/AppViewState.h"
#include "Runner/ViewModels/UpdaterViewModel.h"

namespace quoxelin {

MenuBar::MenuBar(const QuoxelinMenuBarContent::Dependencies& dependencies,
                 std::shared_ptr<AppViewState> environmentObject,
                 std::shared_ptr<UpdaterViewModel> updaterVM,
                 std::shared_ptr<SystemExtensionService> systemExtension)
    : content(std::make_shared<QuoxelinMenuBarContent>(dependencies, std::move(environmentObject),
                                                       std::move(updaterVM),
                                                       std::move(systemExtension))) {}

AnyView MenuBar::erased() const {
    return {
        [content = content] { return content->body(); },
        [content = content](const std::function<void()>& observer) {
            std::vector<Subscription> tokens;
            tokens.push_back(content->objectWillChange(observer));
            tokens.push_back(content->app->objectWillChange(observer));
            tokens.push_back(content->updaterVM->objectWillChange(observer));
            tokens.push_back(content->systemExtension->objectWillChange(observer));
            return tokens;
        },
    };
}

} // namespace quoxelin
