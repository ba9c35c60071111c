#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace quoxelin::testing {

/// Sets or unsets an environment variable until the end of the scope.
class Variable {
  public:
    Variable(std::string name, const char* value) : name(std::move(name)) {
        if (const char* before = std::getenv(this->name.c_str()))
            previous = before;
        assign(value);
    }
    ~Variable() { assign(previous ? previous->c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    void assign(const char* value) const {
        if (value != nullptr)
            ::setenv(name.c_str(), value, 1);
        else
            ::unsetenv(name.c_str());
    }

    std::string name;
    std::optional<std::string> previous;
};

} // namespace quoxelin::testing
