#pragma once

#include "Helper/FileDescriptor.h"
#include "Helper/Refusal.h"
#include "Helper/Slots.h"

#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>
#include <tl/expected.hpp>
#include <vector>

namespace quoxelin::helper {

/// Who asks: the connection to the bus and the user that the bus says it belongs to.
struct Caller {
    std::string busName;
    uid_t user = 0;
};

/// Decides on requests to run a program. Whatever is not allowed explicitly is refused, and the
/// order is such that the cheap questions come first and a person is asked last: is the command
/// line one of the known ones, does this user have few enough requests going on, does polkit allow
/// it, is the file to be trusted. One thread.
class Requests {
  public:
    /// Going on at once, waiting for somebody's consent included: for each user, and in total.
    static constexpr std::size_t mostForAUser = 8;
    static constexpr std::size_t mostInTotal = 32;

    struct Dependencies {
        std::string bundleRoot;
        /// Answers once; false also when nobody could be asked.
        std::function<void(const Caller&, std::function<void(bool)>)> authorise;
        std::function<tl::expected<FileDescriptor, std::string>(const std::string& path)> open;
        /// Calls back once, when the program has ended.
        std::function<tl::expected<void, std::string>(const FileDescriptor& executable,
                                                      const std::vector<std::string>& words,
                                                      std::function<void(std::string output)>)>
            run;
        std::function<void(const std::string& line)> log;
    };

    using Reply = std::function<void(tl::expected<std::string, Refusal>)>;

    explicit Requests(Dependencies dependencies);

    /// Replies once, possibly before it returns.
    void runGoTool(const Caller& caller, const std::string& path,
                   const std::vector<std::string>& arguments, Reply reply);

    /// Something has not been replied to yet.
    bool isBusy() const { return slots.inUse() > 0; }

  private:
    struct Request;
    void authorised(const std::shared_ptr<Request>& request);
    void refuse(Request& request, Refusal::Reason reason, const std::string& text,
                const std::string& detail = {});

    Dependencies dependencies;
    Slots<uid_t> slots{mostForAUser, mostInTotal};
};

} // namespace quoxelin::helper
