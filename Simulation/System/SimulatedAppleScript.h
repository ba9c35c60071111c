#pragma once

#include "Base/Dispatch.h"
#include "Platform/AppleScript.h"

#include <mutex>
#include <vector>

namespace quoxelin {

/// A scripting service that keeps the scripts it is given and never runs one. It asks for an
/// administrator's password first, as the system does. Any thread.
class SimulatedAppleScript final : public AppleScript {
  public:
    explicit SimulatedAppleScript(Dispatch& dispatch) : state(std::make_shared<State>(dispatch)) {}

    std::unique_ptr<NSAppleScript> initWithSource(const std::string& source) override;

    /// Takes no text for a script any more.
    void refuseSources(bool refused);

    /// The script's outcome: the description of its error information, absent for success.
    void setOutcome(std::optional<std::string> errorInformation);

    /// From now on a script waits for the person at the password prompt.
    void waitForPassword();

    /// The person gives the password: scripts that wait go on, to the outcome that is set.
    void givePassword();

    /// The person cancels: scripts that wait end with the system's "User canceled." error.
    void cancelPassword();

    /// The texts of the scripts that were executed, in the order in which they began.
    std::vector<std::string> executedSources() const;

    /// True while a script waits for the person.
    bool isAskingForPassword() const;

  private:
    class Script;
    enum class Prompt { none, asking, canceled };
    struct State {
        explicit State(Dispatch& dispatch) : dispatch(dispatch) {}
        Dispatch& dispatch;
        mutable std::mutex mutex;
        bool refused = false;
        Prompt prompt = Prompt::none;
        int waiting = 0;
        std::optional<std::string> outcome;
        std::vector<std::string> executed;
    };
    std::shared_ptr<State> state;
};

} // namespace quoxelin
