#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <sys/types.h>

namespace quoxelin::helper {

/// Limits how many things each user can do at once. More of them wait in the user's own queue, so
/// they do not delay other users. Root is not limited. One thread.
class Turns {
  public:
    /// The turn ends when its last copy is destroyed.
    using Turn = std::shared_ptr<void>;
    using Begin = std::function<void(Turn)>;

    Turns(std::size_t most, std::size_t longestLine)
        : most(most), longestLine(longestLine), users(std::make_shared<Users>()) {}
    ~Turns() { users->clear(); }
    Turns(const Turns&) = delete;
    Turns& operator=(const Turns&) = delete;

    /// Calls `begin`, now or when a turn is free. False if the user's queue is full.
    bool take(uid_t user, Begin begin) {
        if (user == 0) {
            begin(std::make_shared<char>());
            return true;
        }
        auto& own = (*users)[user];
        if (own.taken < most) {
            ++own.taken;
            begin(turnOf(user));
            return true;
        }
        if (own.line.size() >= longestLine)
            return false;
        own.line.push_back(std::move(begin));
        return true;
    }

  private:
    struct User {
        std::size_t taken = 0;
        std::deque<Begin> line;
    };
    using Users = std::map<uid_t, User>;

    Turn turnOf(uid_t user) {
        return {static_cast<void*>(users.get()), [this, user, alive = std::weak_ptr(users)](void*) {
                    if (!alive.expired())
                        ended(user);
                }};
    }

    void ended(uid_t user) {
        const auto found = users->find(user);
        if (found == users->end())
            return;
        if (auto& own = found->second; !own.line.empty()) {
            const auto next = std::move(own.line.front());
            own.line.pop_front();
            next(turnOf(user));
        } else if (--own.taken == 0) {
            users->erase(found);
        }
    }

    const std::size_t most;
    const std::size_t longestLine;
    std::shared_ptr<Users> users;
};

} // namespace quoxelin::helper
