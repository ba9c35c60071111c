#pragma once

#include "Platform/SystemLog.h"

#include <functional>
#include <mutex>
#include <vector>

namespace quoxelin {

/// A system log that records its entries. Any thread.
class SimulatedSystemLog final : public SystemLog {
  public:
    /// An entry. In the default log, subsystem and category are empty.
    struct Entry {
        std::string subsystem;
        std::string category;
        std::string text;
        bool operator==(const Entry&) const = default;
    };

    void log(const std::string& text) override { log({}, {}, text); }
    void log(const std::string& subsystem, const std::string& category,
             const std::string& text) override {
        Entry entry{subsystem, category, text};
        if (onEntry)
            onEntry(entry);
        const std::lock_guard lock(mutex);
        all.push_back(std::move(entry));
    }

    std::vector<Entry> entries() const {
        const std::lock_guard lock(mutex);
        return all;
    }

    /// The texts of all entries, oldest first.
    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const auto& entry : entries())
            texts.push_back(entry.text);
        return texts;
    }

    void clear() {
        const std::lock_guard lock(mutex);
        all.clear();
    }

    /// Called with every entry, on the thread that logs. Set it before other threads log.
    std::function<void(const Entry&)> onEntry;

  private:
    mutable std::mutex mutex;
    std::vector<Entry> all;
};

} // namespace quoxelin
