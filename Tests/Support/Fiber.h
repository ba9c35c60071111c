#pragma once

#include <functional>
#include <memory>

namespace quoxelin::testing {

/// A function with its own stack that runs only while its owner waits. FiberOnThread.cpp uses a
/// thread, which every tool knows. FiberOnStack.cpp exchanges the stacks without a thread; the
/// fuzzers are built with it.
class Fiber {
  public:
    Fiber();
    /// The function must have returned.
    ~Fiber();
    Fiber(const Fiber&) = delete;
    Fiber& operator=(const Fiber&) = delete;

    /// The function begins with the first `resume`.
    void start(std::function<void()> function);

    /// Called by the owner: runs the function until it hands back or returns.
    void resume();

    /// Called by the function: lets the owner continue until it resumes the fiber.
    void handBack();

  private:
    struct Context;
    std::unique_ptr<Context> context;
};

} // namespace quoxelin::testing
