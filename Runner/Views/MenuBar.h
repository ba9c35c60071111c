#pragma once

#include "Runner/Views/AnyView.h"
#include "Runner/Views/QuoxelinMenuBarContent.h"

#include <memory>

namespace quoxelin {

/// The panel's root view: its content and the objects that it shows.
class MenuBar {
  public:
    MenuBar(const QuoxelinMenuBarContent::Dependencies& dependencies,
            std::shared_ptr<AppViewState> environmentObject,
            std::shared_ptr<UpdaterViewModel> updaterVM,
            std::shared_ptr<SystemExtensionService> systemExtension);

    const std::shared_ptr<QuoxelinMenuBarContent> content;

    /// The content as a type-erased view that changes with each of the objects.
    AnyView erased() const;
};

} // namespace quoxelin
