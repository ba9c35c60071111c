#import "Tests/Platform/macOS/Stage/Stage.h"

namespace quoxelin::stage {

namespace {

using Answer = void (^)(void);

/// The exceptions, errors and delays that tests asked for, by operation.
struct Wishes {
    NSMutableDictionary<NSString*, NSExceptionName>* exceptions = [NSMutableDictionary dictionary];
    NSMutableDictionary<NSString*, NSError*>* errors = [NSMutableDictionary dictionary];
    NSMutableDictionary<NSString*, NSMutableArray<Answer>*>* held =
        [NSMutableDictionary dictionary];
    NSMutableArray<Answer>* resets = [NSMutableArray array];
};

Wishes& wishes() {
    static Wishes all;
    return all;
}

NSObject* lock() {
    static NSObject* const one = [[NSObject alloc] init];
    return one;
}

} // namespace

void raiseNext(NSString* operation, NSExceptionName name) {
    @synchronized(lock()) {
        wishes().exceptions[operation] = name;
    }
}

void failNext(NSString* operation, NSError* error) {
    @synchronized(lock()) {
        wishes().errors[operation] = error;
    }
}

Held::Held(NSString* operation) : operation(operation) {
    @synchronized(lock()) {
        wishes().held[operation] = [NSMutableArray array];
    }
}

Held::~Held() {
    NSArray<Answer>* due = nil;
    @synchronized(lock()) {
        due = wishes().held[operation];
        [wishes().held removeObjectForKey:operation];
    }
    for (Answer answer in due)
        answer();
}

void reset() {
    NSArray<Answer>* resets = nil;
    @synchronized(lock()) {
        [wishes().exceptions removeAllObjects];
        [wishes().errors removeAllObjects];
        [wishes().held removeAllObjects];
        resets = [wishes().resets copy];
    }
    for (Answer work in resets)
        work();
}

NSError* outcomeOf(NSString* operation) {
    NSExceptionName exception = nil;
    NSError* error = nil;
    @synchronized(lock()) {
        exception = wishes().exceptions[operation];
        [wishes().exceptions removeObjectForKey:operation];
        error = wishes().errors[operation];
        [wishes().errors removeObjectForKey:operation];
    }
    if (exception != nil)
        [NSException raise:exception format:@"%@ was called out of turn", operation];
    return error;
}

void answerLater(NSString* operation, dispatch_queue_t queue, void (^answer)(NSError*)) {
    NSError* const error = outcomeOf(operation);
    const Answer due = ^{
        dispatch_async(queue, ^{
            answer(error);
        });
    };
    @synchronized(lock()) {
        if (NSMutableArray<Answer>* const held = wishes().held[operation]) {
            [held addObject:due];
            return;
        }
    }
    due();
}

void onReset(void (^work)(void)) {
    @synchronized(lock()) {
        [wishes().resets addObject:work];
    }
}

} // namespace quoxelin::stage
