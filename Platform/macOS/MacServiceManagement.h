#pragma once

#include "Platform/ServiceManagement.h"

namespace quoxelin {

class MacServiceManagement final : public ServiceManagement {
  public:
    std::unique_ptr<SMAppService> mainApp() override;
    std::unique_ptr<SMAppService> daemon(const std::string& plistName) override;
};

} // namespace quoxelin
