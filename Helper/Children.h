#pragma once

#include "Helper/Spawn.h"

#include <functional>
#include <list>
#include <memory>
#include <string>

namespace quoxelin::helper {

/// The programs that run, followed by the default main loop. Main thread only.
///
/// A program may leave another one behind that goes on writing, as a daemon does that detaches
/// itself. Then the output up to there is the answer, and what comes later is read and dropped for
/// as long as somebody can write it: with nobody reading, the daemon would be killed by its next
/// line.
class Children {
  public:
    /// More than this of a program's output, in bytes, is read and dropped.
    static constexpr std::size_t longestOutput = std::size_t{1024} * 1024;

    /// Receives standard output and standard error, in the order in which they were written.
    using Finished = std::function<void(std::string output)>;

    /// `changed` is called when a program or the last writer of its output has ended.
    explicit Children(std::function<void()> changed);
    ~Children();
    Children(const Children&) = delete;
    Children& operator=(const Children&) = delete;

    /// `finished` is called once, when the program itself has ended, however long that takes. A
    /// failure to start is a text for the log.
    tl::expected<void, std::string> run(const FileDescriptor& executable,
                                        const std::vector<std::string>& words, Finished finished);

    /// Nothing runs, and nobody can write any more.
    bool isEmpty() const { return children.empty(); }

  private:
    class Child;
    void forget(const Child& child);

    std::function<void()> changed;
    std::list<std::unique_ptr<Child>> children;
};

} // namespace quoxelin::helper
