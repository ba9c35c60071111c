#pragma once

#include <memory>
#include <utility>

namespace quoxelin {

/// Lets closures hold their owner weakly: a member `Lifetime lifetime;` and
/// `lifetime.weakly([this] { ... })` give a closure that does nothing once the owner is gone.
///
/// The closure must run on the thread that destroys the owner, usually the main thread. Declare the
/// member last, so that it is destroyed first.
class Lifetime {
  public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    template <typename Function>
    auto weakly(Function function) const {
        return [alive = std::weak_ptr<const char>(token),
                function = std::move(function)](auto&&... arguments) mutable {
            if (!alive.expired())
                function(std::forward<decltype(arguments)>(arguments)...);
        };
    }

    /// Like `weakly`, for closures that must run, such as completions: once the owner is gone, the
    /// closure calls `otherwise` instead.
    template <typename Function, typename Otherwise>
    auto weaklyOr(Function function, Otherwise otherwise) const {
        return [alive = std::weak_ptr<const char>(token), function = std::move(function),
                otherwise = std::move(otherwise)](auto&&... arguments) mutable {
            if (alive.expired())
                otherwise();
            else
                function(std::forward<decltype(arguments)>(arguments)...);
        };
    }

  private:
    std::shared_ptr<const char> token = std::make_shared<const char>();
};

} // namespace quoxelin
