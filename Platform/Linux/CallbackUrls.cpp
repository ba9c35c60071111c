#include "Platform/Linux/CallbackUrls.h"

#include <utility>

namespace quoxelin {

void CallbackUrls::setEventHandler(const std::string& eventClass, const std::string& eventID,
                                   std::function<void(std::optional<std::string>)> newHandler) {
    if (eventClass != kInternetEventClass || eventID != kAEGetURL)
        return;
    handler = std::move(newHandler);
    mainQueue.async([this] { deliver(); });
}

void CallbackUrls::send(std::optional<std::string> url) {
    waiting.push_back(std::move(url));
    mainQueue.async([this] { deliver(); });
}

void CallbackUrls::deliver() {
    if (!handler)
        return;
    for (auto& url : std::exchange(waiting, {}))
        handler(std::move(url));
}

} // namespace quoxelin
