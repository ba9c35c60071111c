#include "Simulation/System/SimulatedSystemLog.h"

namespace quoxelin {

void SimulatedSystemLog::log(const std::string& text) {
    log({}, {}, text);
}

void SimulatedSystemLog::log(const std::string& subsystem, const std::string& category,
                             const std::string& text) {
    Entry entry{subsystem, category, text};
    if (onEntry)
        onEntry(entry);
    const std::lock_guard lock(mutex);
    all.push_back(std::move(entry));
}

std::vector<SimulatedSystemLog::Entry> SimulatedSystemLog::entries() const {
    const std::lock_guard lock(mutex);
    return all;
}

std::vector<std::string> SimulatedSystemLog::texts() const {
    const std::lock_guard lock(mutex);
    std::vector<std::string> texts;
    texts.reserve(all.size());
    for (const auto& entry : all)
        texts.push_back(entry.text);
    return texts;
}

void SimulatedSystemLog::clear() {
    const std::lock_guard lock(mutex);
    all.clear();
}

} // namespace quoxelin
