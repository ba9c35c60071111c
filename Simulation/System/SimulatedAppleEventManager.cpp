#include "Simulation/System/SimulatedAppleEventManager.h"

namespace quoxelin {

void SimulatedAppleEventManager::setEventHandler(const std::string& eventClass,
                                                 const std::string& eventID, Handler handler) {
    const Key key(eventClass, eventID);
    handlers[key] = std::move(handler);
    for (const auto& directObject : std::exchange(early[key], {}))
        send(eventClass, eventID, directObject);
}

void SimulatedAppleEventManager::send(const std::string& eventClass, const std::string& eventID,
                                      std::optional<std::string> directObject) {
    const Key key(eventClass, eventID);
    const auto found = handlers.find(key);
    if (found == handlers.end()) {
        early[key].push_back(std::move(directObject));
        return;
    }
    const auto handler = found->second;
    handler(std::move(directObject));
}

} // namespace quoxelin
