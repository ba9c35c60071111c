#pragma once

#include "Base/Dispatch.h"
#include "Platform/AppleScript.h"

#include <mutex>
#include <vector>

namespace quoxelin {

/// A scripting service that records scripts and never runs them. It can ask for an administrator's
/// password first. Any thread.
class SimulatedAppleScript final : public AppleScript {
  public:
    explicit SimulatedAppleScript(Dispatch& dispatch) : state(std::make_shared<State>(dispatch)) {}

    std::unique_ptr<NSAppleScript> initWithSource(const std::string& source) override {
        const std::lock_guard lock(state->mutex);
        return state->refused ? nullptr : std::make_unique<Script>(state, source);
    }

    /// Whether to reject every text as a script.
    void refuseSources(bool refused) { set(&State::refused, refused); }

    /// The script's outcome: the description of its error information, absent for success.
    void setOutcome(std::optional<std::string> errorInformation) {
        set(&State::outcome, std::move(errorInformation));
    }

    /// From now on scripts wait for the password.
    void waitForPassword() { set(&State::prompt, Prompt::asking); }

    /// The user enters the password: waiting scripts end with the outcome that is set.
    void givePassword() { set(&State::prompt, Prompt::none); }

    /// The user cancels: waiting scripts end with the system's "User canceled." error.
    void cancelPassword() { set(&State::prompt, Prompt::canceled); }

    /// The texts of the executed scripts, in the order in which they started.
    std::vector<std::string> executedSources() const {
        const std::lock_guard lock(state->mutex);
        return state->executed;
    }

    /// True while a script waits for the user.
    bool isAskingForPassword() const {
        const std::lock_guard lock(state->mutex);
        return state->prompt == Prompt::asking && state->waiting > 0;
    }

  private:
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

    class Script final : public NSAppleScript {
      public:
        Script(std::shared_ptr<State> state, std::string source)
            : state(std::move(state)), source(std::move(source)) {}

        std::optional<std::string> executeAndReturnError() override {
            std::unique_lock lock(state->mutex);
            state->executed.push_back(source);
            // Wakes the main loop, in case it waits for the script to start.
            state->dispatch.main().async([] {});
            const Waiting waiting(*state);
            while (state->prompt == Prompt::asking) {
                lock.unlock();
                // The only way to block that works on virtual time too.
                state->dispatch.sleep(seconds(0.05));
                lock.lock();
            }
            if (state->prompt == Prompt::canceled)
                return "{ NSAppleScriptErrorMessage = \"User canceled.\"; "
                       "NSAppleScriptErrorNumber = -128; }";
            return state->outcome;
        }

      private:
        /// Keeps the count correct even if a test unwinds the blocked thread.
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

    template <typename T>
    void set(T State::*field, std::type_identity_t<T> value) {
        const std::lock_guard lock(state->mutex);
        (*state).*field = std::move(value);
    }

    std::shared_ptr<State> state;
};

} // namespace quoxelin
