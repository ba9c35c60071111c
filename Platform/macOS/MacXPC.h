#pragma once

#include "Base/Dispatch.h"
#include "Platform/XPC.h"

namespace quoxelin {

class MacXPC final : public XPC {
  public:
    std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) override;

    /// Returns when no connection is open any more, or after that time. What was asked for last
    /// arrives that way, and the helper finds somebody who asked.
    void awaitReplies(Duration patience);
};

} // namespace quoxelin
