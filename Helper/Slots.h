#pragma once

#include <cstddef>
#include <map>
#include <memory>

namespace quoxelin::helper {

/// How many things may go on at once, for each key and in total. One thread.
template <typename Key>
class Slots {
  public:
    Slots(std::size_t most, std::size_t mostInTotal)
        : state(std::make_shared<State>(State{most, mostInTotal, 0, {}})) {}

    /// A slot, given back when the last copy goes; none when there are no more. It may outlive this
    /// object.
    std::shared_ptr<void> take(const Key& key) {
        const auto found = state->taken.find(key);
        if (state->total >= state->mostInTotal ||
            (found != state->taken.end() && found->second >= state->most))
            return nullptr;
        ++state->total;
        ++state->taken[key];
        return {static_cast<void*>(state.get()), [state = state, key](void*) {
                    --state->total;
                    if (--state->taken[key] == 0)
                        state->taken.erase(key);
                }};
    }

    std::size_t inUse() const { return state->total; }

  private:
    struct State {
        std::size_t most;
        std::size_t mostInTotal;
        std::size_t total;
        std::map<Key, std::size_t> taken;
    };
    std::shared_ptr<State> state;
};

} // namespace quoxelin::helper
