#pragma once

#include "Base/ObserverList.h"

#include <any>
#include <map>
#include <string>

namespace quoxelin {

/// A named event. `object` identifies its subject and is often empty.
struct Notification {
    std::string name;
    std::any object;
};

/// The in-process notification center: delivers each posted notification to the observers of its
/// name. Main thread only; observers are called before `post` returns.
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
