#pragma once

#include "Base/Dispatch.h"
#include "Platform/XPC.h"

namespace quoxelin {

class MacXPC final : public XPC {
  public:
    std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) override;

    /// Blocks until all connections are closed, at most for `patience`. The last requests are then
    /// delivered, and the helper can still look up their sender.
    void awaitReplies(Duration patience);
};

} // namespace quoxelin
