#include "Simulation/System/SimulatedAppleScript.h"

namespace quoxelin {

class SimulatedAppleScript::Script final : public NSAppleScript {
  public:
    Script(std::shared_ptr<State> state, std::string source)
        : state(std::move(state)), source(std::move(source)) {}

    std::optional<std::string> executeAndReturnError() override {
        std::unique_lock lock(state->mutex);
        state->executed.push_back(source);
        const Waiting waiting(*state);
        while (state->prompt == Prompt::asking) {
            lock.unlock();
            // The dispatch offers no other way to block that also works on virtual time.
            state->dispatch.sleep(seconds(0.05));
            lock.lock();
        }
        if (state->prompt == Prompt::canceled)
            return "{ NSAppleScriptErrorMessage = \"User canceled.\"; "
                   "NSAppleScriptErrorNumber = -128; }";
        return state->outcome;
    }

  private:
    /// Also counts right when a test unwinds the blocked thread.
    struct Waiting {
        explicit Waiting(State& state) : state(state) { ++state.waiting; }
        ~Waiting() { --state.waiting; }
        Waiting(const Waiting&) = delete;
        Waiting& operator=(const Waiting&) = delete;
        State& state;
    };

    std::shared_ptr<State> state;
    std::string source;
};

std::unique_ptr<NSAppleScript> SimulatedAppleScript::initWithSource(const std::string& source) {
    const std::lock_guard lock(state->mutex);
    if (state->refused)
        return nullptr;
    return std::make_unique<Script>(state, source);
}

void SimulatedAppleScript::refuseSources(bool refused) {
    const std::lock_guard lock(state->mutex);
    state->refused = refused;
}

void SimulatedAppleScript::setOutcome(std::optional<std::string> errorInformation) {
    const std::lock_guard lock(state->mutex);
    state->outcome = std::move(errorInformation);
}

void SimulatedAppleScript::waitForPassword() {
    const std::lock_guard lock(state->mutex);
    state->prompt = Prompt::asking;
}

void SimulatedAppleScript::givePassword() {
    const std::lock_guard lock(state->mutex);
    state->prompt = Prompt::none;
}

void SimulatedAppleScript::cancelPassword() {
    const std::lock_guard lock(state->mutex);
    state->prompt = Prompt::canceled;
}

std::vector<std::string> SimulatedAppleScript::executedSources() const {
    const std::lock_guard lock(state->mutex);
    return state->executed;
}

bool SimulatedAppleScript::isAskingForPassword() const {
    const std::lock_guard lock(state->mutex);
    return state->prompt == Prompt::asking && state->waiting > 0;
}

} // namespace quoxelin
