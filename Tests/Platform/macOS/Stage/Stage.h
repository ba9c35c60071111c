#pragma once

#import <Foundation/Foundation.h>

// Tests control the stand-ins for macOS with these functions. An operation is named by the first
// words of its method, such as @"loadAllFromPreferences". Any thread.

namespace quoxelin::stage {

/// The next call of the operation raises an exception with that name.
void raiseNext(NSString* operation, NSExceptionName name);

/// The next call of the operation answers with that error.
void failNext(NSString* operation, NSError* error);

/// Holds back the operation's answers until it is destroyed.
class Held {
  public:
    explicit Held(NSString* operation);
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held();

  private:
    NSString* operation;
};

/// Clears everything that is saved, installed, registered or held back.
void reset();

// For the stand-ins.

/// For an operation that answers at once. Raises, or returns the error to fail with or nil.
NSError* outcomeOf(NSString* operation);

/// For an operation that answers later. Raises, or answers on that queue, with nil on success.
void answerLater(NSString* operation, dispatch_queue_t queue, void (^answer)(NSError* error));

/// `reset` runs the work too.
void onReset(void (^work)(void));

} // namespace quoxelin::stage
