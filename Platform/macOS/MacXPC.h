#pragma once

#include "Platform/XPC.h"

namespace quoxelin {

class MacXPC final : public XPC {
  public:
    std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) override;
};

} // namespace quoxelin
