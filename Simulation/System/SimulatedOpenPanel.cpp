#include "Simulation/System/SimulatedOpenPanel.h"

namespace quoxelin {

void SimulatedOpenPanel::begin(const NSOpenPanelOptions& options,
                               std::function<void(Choice)> completionHandler) {
    begun.push_back(options);
    waiting.push_back(std::move(completionHandler));
}

bool SimulatedOpenPanel::answer(Choice choice) {
    if (waiting.empty())
        return false;
    dispatch.main().async([completion = std::move(waiting.front()), choice = std::move(choice)] {
        completion(choice);
    });
    waiting.pop_front();
    return true;
}

} // namespace quoxelin
