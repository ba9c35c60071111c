#pragma once

#import <Foundation/Foundation.h>

// How tests steer what stands in for macOS. An operation of a framework is named by the first
// words of its method, such as @"loadAllFromPreferences". All of it from any thread.

namespace quoxelin::stage {

/// The next call of the operation raises an exception of that name.
void raiseNext(NSString* operation, NSExceptionName name);

/// The next answer of the operation is that error.
void failNext(NSString* operation, NSError* error);

/// While it exists, answers of the operation stay away; they come when it goes.
class Held {
  public:
    explicit Held(NSString* operation);
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held();

  private:
    NSString* operation;
};

/// Nothing is saved, installed, registered or held any more.
void reset();

// For the stand-ins.

/// An operation that answers at once: raises, or returns the error that it is to fail with, or nil.
NSError* outcomeOf(NSString* operation);

/// An operation that answers later: raises, or answers on that queue, with nil for success.
void answerLater(NSString* operation, dispatch_queue_t queue, void (^answer)(NSError* error));

/// What `reset` does besides.
void onReset(void (^work)(void));

} // namespace quoxelin::stage
