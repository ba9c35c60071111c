#pragma once

#include "Base/ObserverList.h"

#include <utility>

namespace quoxelin {

/// Something whose published fields can be watched as a whole. Main thread only.
class ObservableObject {
  public:
    ObservableObject() = default;
    ObservableObject(const ObservableObject&) = delete;
    ObservableObject& operator=(const ObservableObject&) = delete;

    /// Calls the observer *before* each assignment to a published field: what it reads is the old
    /// value. Ask for the new one on a later turn of the main queue.
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
/// Every assignment is published, also one that does not change the value; who publishes changes
/// only compares first.
template <typename T>
class Published {
  public:
    Published(ObservableObject& owner, T initial) : owner(owner), value(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    Published& operator=(T next) {
        owner.observers.notify();
        value = std::move(next);
        // A copy, because a subscriber may assign again while the others still listen.
        const T current = value;
        subscribers.notify(current);
        return *this;
    }

    const T& get() const { return value; }
    operator const T&() const { return value; }
    const T* operator->() const { return &value; }

    /// Hands the current value to the subscriber at once and then every value assigned.
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
