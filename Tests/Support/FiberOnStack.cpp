#include "Tests/Support/Fiber.h"

#include <cstddef>
#include <sanitizer/common_interface_defs.h>
#include <ucontext.h>
#include <utility>
#include <vector>

namespace quoxelin::testing {

namespace {

constexpr std::size_t stackSize = 256 * 1024;
using Stack = std::unique_ptr<std::byte[]>;

/// Stacks are used again, because making one takes longer than a short function.
std::vector<Stack>& freeStacks() {
    static std::vector<Stack> stacks;
    return stacks;
}

Stack takeStack() {
    if (freeStacks().empty())
        return std::make_unique<std::byte[]>(stackSize);
    auto stack = std::move(freeStacks().back());
    freeStacks().pop_back();
    return stack;
}

} // namespace

/// The address sanitizer is told of each exchange.
struct Fiber::Context {
    ~Context() { freeStacks().push_back(std::move(stack)); }

    void enter() {
        void* fakeStack = nullptr;
        __sanitizer_start_switch_fiber(&fakeStack, stack.get(), stackSize);
        ::swapcontext(&owner, &function);
        __sanitizer_finish_switch_fiber(fakeStack, nullptr, nullptr);
    }

    void leave() {
        void* fakeStack = nullptr;
        __sanitizer_start_switch_fiber(hasReturned ? nullptr : &fakeStack, ownersStack,
                                       ownersStackSize);
        ::swapcontext(&function, &owner);
        hasArrived(fakeStack);
    }

    void hasArrived(void* fakeStack) {
        __sanitizer_finish_switch_fiber(fakeStack, &ownersStack, &ownersStackSize);
    }

    /// A new context begins with a function that takes integers only.
    static void begin() {
        auto& self = *beginning;
        self.hasArrived(nullptr);
        self.work();
        self.hasReturned = true;
        self.leave();
    }

    static Context* beginning;

    Stack stack = takeStack();
    ucontext_t owner{};
    ucontext_t function{};
    const void* ownersStack = nullptr;
    std::size_t ownersStackSize = 0;
    std::function<void()> work;
    bool hasReturned = false;
};

Fiber::Context* Fiber::Context::beginning = nullptr;

Fiber::Fiber() : context(std::make_unique<Context>()) {}

Fiber::~Fiber() = default;

void Fiber::start(std::function<void()> function) {
    context->work = std::move(function);
    ::getcontext(&context->function);
    context->function.uc_stack.ss_sp = context->stack.get();
    context->function.uc_stack.ss_size = stackSize;
    ::makecontext(&context->function, &Context::begin, 0);
}

void Fiber::resume() {
    Context::beginning = context.get();
    context->enter();
}

void Fiber::handBack() {
    context->leave();
}

} // namespace quoxelin::testing
