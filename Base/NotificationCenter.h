#pragma once

#include "Base/ObserverList.h"

#include <any>
#include <map>
#include <string>

namespace quoxelin {

/// Something that happened, by name. `object` says whom or what it concerns and is often empty.
struct Notification {
    std::string name;
    std::any object;
};

/// The in-process notification centre: whoever is interested in a name hears of it, whoever posts
/// it. Main thread only; observers are called before `post` returns.
class NotificationCenter {
  public:
    using Observer = std::function<void(const Notification&)>;

    Subscription addObserver(const std::string& name, Observer observer) {
        return observers[name].add(std::move(observer));
    }

    void post(const std::string& name, std::any object = {}) {
        const auto found = observers.find(name);
        if (found != observers.end())
            found->second.notify(Notification{name, std::move(object)});
    }

  private:
    std::map<std::string, ObserverList<const Notification&>> observers;
};

} // namespace quoxelin
