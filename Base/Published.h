#pragma once

#include "Base/ObserverList.h"

#include <utility>

namespace quoxelin {

/// An object whose published fields can be observed together. Main thread only.
class ObservableObject {
  public:
    ObservableObject() = default;
    ObservableObject(const ObservableObject&) = delete;
    ObservableObject& operator=(const ObservableObject&) = delete;

    /// Calls the observer *before* each assignment to a published field, so it still reads the old
    /// value. Read the new one on a later turn of the main queue.
    Subscription objectWillChange(std::function<void()> observer) {
        return observers.add(std::move(observer));
    }

  protected:
    ~ObservableObject() = default;

  private:
    template <typename T>
    friend class Published;
    ObserverList<> observers;
};

/// A field of an observable object. Main thread only.
///
/// Every assignment notifies, even if the value is unchanged. Compare first if you only want to
/// notify of changes.
template <typename T>
class Published {
  public:
    Published(ObservableObject& owner, T initial) : owner(owner), value(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    Published& operator=(T next) {
        owner.observers.notify();
        value = std::move(next);
        // A copy, because a subscriber may assign again while others are still being called.
        const T current = value;
        subscribers.notify(current);
        return *this;
    }

    const T& get() const { return value; }
    operator const T&() const { return value; }
    const T* operator->() const { return &value; }

    /// Calls the subscriber with the current value at once, then with every assigned value.
    Subscription subscribe(std::function<void(const T&)> subscriber) {
        auto subscription = subscribers.add(subscriber);
        const T current = value;
        subscriber(current);
        return subscription;
    }

  private:
    ObservableObject& owner;
    T value;
    ObserverList<const T&> subscribers;
};

} // namespace quoxelin
