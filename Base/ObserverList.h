#pragma once

#include "Base/Subscription.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace quoxelin {

/// Observers, notified in the order in which they were added. One thread only.
///
/// An observer may add or remove observers or cause the next notification while it is called. A
/// removed observer is not called again; an added one is called from the next notification on.
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
        // An observer may destroy the list, so keep its members alive until the end.
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
