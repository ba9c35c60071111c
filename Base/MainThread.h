#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"

#include <atomic>
#include <memory>
#include <utility>

namespace quoxelin {

/// Sends work to an object that is confined to the main thread. The work is dropped once the object
/// is gone. Declare it as the object's last member.
class MainThread : public Lifetime {
  public:
    explicit MainThread(Dispatch& dispatch) : dispatch(dispatch) {}

    /// Performs the work on a later turn of the main queue. Any thread.
    template <typename Function>
    void async(Function work) const {
        dispatch.main().async(weakly(std::move(work)));
    }

    /// Performs the work on the main queue after the delay.
    template <typename Function>
    WorkItem asyncAfter(Duration delay, Function work) const {
        return dispatch.main().asyncAfter(delay, weakly(std::move(work)));
    }

    /// On another thread: repeats the operation on the main thread and returns true. Once the
    /// object is gone, `otherwise` is called instead.
    template <typename Function, typename Otherwise>
    bool takesOver(Function operation, Otherwise otherwise) const {
        if (dispatch.isMainThread())
            return false;
        dispatch.main().async(weaklyOr(std::move(operation), std::move(otherwise)));
        return true;
    }

    template <typename Function>
    bool takesOver(Function operation) const {
        return takesOver(std::move(operation), [] {});
    }

    /// A callback that may be called on any thread. Each call performs `function` on a later turn.
    template <typename Function>
    auto callback(Function function) const {
        return [&main = dispatch.main(), work = weakly(std::move(function))](auto... values) {
            main.async([work, ... values = std::move(values)]() mutable { work(values...); });
        };
    }

    /// A completion that may be called on any thread; only the first call counts. Once the object
    /// is gone, `otherwise` is called instead of `function`.
    template <typename Function, typename Otherwise>
    auto completion(Function function, Otherwise otherwise) const {
        return [&main = dispatch.main(), work = weaklyOr(std::move(function), std::move(otherwise)),
                answered = std::make_shared<std::atomic_flag>()](auto answer) mutable {
            if (answered->test_and_set())
                return;
            // Moved, so that the answering thread keeps nothing that belongs to the caller.
            main.async([work = std::move(work), answer = std::move(answer)]() mutable {
                work(std::move(answer));
            });
        };
    }

  private:
    Dispatch& dispatch;
};

} // namespace quoxelin
