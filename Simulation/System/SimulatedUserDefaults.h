#pragma once

#include "Platform/Foundation.h"

#include <map>
#include <variant>

namespace quoxelin {

/// A store of defaults in memory. Main thread only.
class SimulatedUserDefaults final : public NSUserDefaults {
  public:
    using Value = std::variant<std::string, bool>;

    std::optional<std::string> string(const std::string& key) const override;
    void set(const std::string& key, const std::string& value) override { values[key] = value; }
    void removeObject(const std::string& key) override;

    /// A value that is no string, as other versions of an application may have left it.
    void setBool(const std::string& key, bool value) { values[key] = value; }

    bool contains(const std::string& key) const { return values.count(key) != 0; }

    /// The keys whose removal was asked for, in order.
    const std::vector<std::string>& removals() const { return removed; }

  private:
    std::map<std::string, Value> values;
    std::vector<std::string> removed;
};

} // namespace quoxelin
