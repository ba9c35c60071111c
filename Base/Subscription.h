#pragma once

#include <functional>
#include <utility>

namespace quoxelin {

/// Ends an observation when it is destroyed. It may outlive the observed object.
class [[nodiscard]] Subscription {
  public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end) : end(std::move(end)) {}
    Subscription(Subscription&& other) noexcept : end(std::exchange(other.end, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        std::swap(end, other.end);
        other.cancel();
        return *this;
    }
    ~Subscription() { cancel(); }

    /// Ends the observation now. A second call does nothing.
    void cancel() {
        if (auto once = std::exchange(end, nullptr))
            once();
    }

    explicit operator bool() const { return end != nullptr; }

  private:
    std::function<void()> end;
};

} // namespace quoxelin
