#pragma once

#include "Platform/SystemExtensions.h"

namespace quoxelin {

class MacSystemExtensions final : public OSSystemExtensionManager {
  public:
    void submitRequest(const OSSystemExtensionRequest& request) override;
};

} // namespace quoxelin
