#pragma once

#include "Base/Result.h"
#include "Platform/Linux/Services/ApplicationObject.h"
#include "Platform/Linux/Services/MessageBus.h"

#include <chrono>
#include <optional>
#include <string>

namespace quoxelin {

/// The application as one of the session: the first to start owns the name on the session's bus,
/// and others hand over to it what they were started for. Main thread only.
class SingleInstance final : public QObject {
  public:
    /// What the first is asked by those that follow; also by the desktop itself.
    using Requests = ApplicationObject::Requests;

    /// The session's bus, which lives longer. Without a bus that answers nobody follows until there
    /// is one.
    SingleInstance(MessageBus& bus, Requests requests);

    enum class Role { first, follower };

    /// Claims the name. A follower has handed over the URL, or asked the first to come to the
    /// front when there is none, before this returns. An error is a text for people: the first did
    /// not answer within `patience`.
    Result<Role, std::string> claim(const std::optional<std::string>& url,
                                    std::chrono::milliseconds patience);

  private:
    ApplicationObject& offer();
    void withdraw(ApplicationObject& object);
    bool own(std::chrono::milliseconds patience);
    void ownLater();

    MessageBus& bus;
    Requests requests;
    bool claimed = false;
    Subscription busObservation;
};

} // namespace quoxelin
