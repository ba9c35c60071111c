#pragma once

#include <boost/asio/io_context.hpp>

#include <chrono>
#include <functional>
#include <list>
#include <memory>

namespace quoxelin::sim {

/// Answers that are owed once something holds, or once their time is up.
class Waits {
  public:
    explicit Waits(boost::asio::io_context& context);
    ~Waits();

    /// Calls `done` once: with true as soon as `holds` does, which may be at once, or with false
    /// after `timeout`.
    void add(std::function<bool()> holds, std::chrono::milliseconds timeout,
             std::function<void(bool)> done);
    /// Looks at all that wait. To be called after every change.
    void check();

  private:
    struct Wait;

    boost::asio::io_context& context;
    std::list<std::shared_ptr<Wait>> waiting;
};

} // namespace quoxelin::sim
