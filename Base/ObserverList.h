#pragma once

#include "Base/Subscription.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace quoxelin {

/// The observers of one thing, told in the order in which they came. One thread only.
///
/// An observer may come, go or cause the next notification while it is being told: one that has
/// left is not called any more, one that came waits for the next notification.
template <typename... Arguments>
class ObserverList {
  public:
    using Observer = std::function<void(Arguments...)>;

    Subscription add(Observer observer) {
        const auto key = members->nextKey++;
        members->observers.emplace(key, std::make_shared<Observer>(std::move(observer)));
        return Subscription([weak = std::weak_ptr<Members>(members), key] {
            if (const auto list = weak.lock())
                list->observers.erase(key);
        });
    }

    void notify(Arguments... arguments) const {
        // The list itself may be destroyed by an observer; its members are kept until the end.
        const auto list = members;
        std::vector<std::uint64_t> keys;
        keys.reserve(list->observers.size());
        for (const auto& [key, observer] : list->observers)
            keys.push_back(key);
        for (const auto key : keys) {
            const auto found = list->observers.find(key);
            if (found == list->observers.end())
                continue;
            const auto observer = found->second;
            (*observer)(arguments...);
        }
    }

    bool empty() const { return members->observers.empty(); }

  private:
    struct Members {
        std::uint64_t nextKey = 0;
        std::map<std::uint64_t, std::shared_ptr<Observer>> observers;
    };
    std::shared_ptr<Members> members = std::make_shared<Members>();
};

} // namespace quoxelin
