#pragma once

#include "Base/Error.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"
#import "Tests/Platform/macOS/Stage/Stage.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"

#include <gtest/gtest.h>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin::testing {

/// Starts each test with an empty stage.
class ServiceTest : public ::testing::Test {
  protected:
    ServiceTest() { stage::reset(); }
};

/// Collects the answers of completions. Any thread.
template <typename Answer> class Answers {
  public:
    void add(Answer answer) {
        const std::lock_guard guard(lock);
        all.push_back(std::move(answer));
    }

    std::vector<Answer> get() const {
        const std::lock_guard guard(lock);
        return all;
    }

    bool arrive(std::size_t count = 1) const {
        return comesTrue([&] { return get().size() >= count; }) && get().size() == count;
    }

  private:
    mutable std::mutex lock;
    std::vector<Answer> all;
};

inline NSError* errorOf(NSString* domain, NSInteger code) {
    return [NSError errorWithDomain:domain
                               code:code
                           userInfo:@{NSLocalizedDescriptionKey : @"it did not work"}];
}

/// For a completion to capture: too long for a buffer inside the object, so that the sanitizer sees
/// a use after free.
inline std::string keepsake() {
    return std::string(100, 'k');
}

} // namespace quoxelin::testing
