#pragma once

#include "Helper/CommandLine.h"
#include "Helper/Refusal.h"
#include "Helper/RefusalLog.h"
#include "Helper/TrustedFile.h"
#include "Helper/Turns.h"

#include <functional>
#include <memory>
#include <set>

namespace quoxelin::helper {

/// Decides on requests to run a program. Whatever is not allowed explicitly is refused. The cheap
/// questions come first and a person is asked last: is the command line one of the known ones, does
/// polkit allow it, is the file to be trusted. One thread.
///
/// Users do not get in each other's way: each has a number of questions and of programs at once,
/// and a line of requests that wait. Root has as many as it likes.
class Requests {
  public:
    /// Of one connection whose user is not known yet.
    static constexpr std::size_t mostArrivals = 8;
    /// Of one user: questions that are not answered yet (polkit takes one after the other, so
    /// others wait for them), programs that run, and requests that wait for either.
    static constexpr std::size_t mostQuestions = 2;
    static constexpr std::size_t mostPrograms = 8;
    static constexpr std::size_t longestLine = 64;

    /// What polkit is asked about.
    struct Question {
        std::string caller; ///< the connection
        std::string program;
        std::string command;
    };
    using Finished = std::function<void(std::string output, std::string howItEnded)>;

    struct Dependencies {
        std::string bundleRoot;
        /// Answers once with the user to whom a connection belongs; none when it has gone.
        std::function<void(const std::string& caller, std::function<void(std::optional<uid_t>)>)>
            identify;
        /// Answers once; false also when polkit cannot be asked. Dropping what this returns takes
        /// the question back.
        std::function<std::shared_ptr<void>(const Question&, std::function<void(bool)>)> authorize;
        /// The text of the bundle's Info.plist.
        std::function<tl::expected<std::string, std::string>(const std::string& path)> read;
        std::function<tl::expected<TrustedFile, std::string>(const std::string& path)> open;
        /// Starts a program and answers its process; calls back once, when it has ended.
        std::function<tl::expected<pid_t, std::string>(const TrustedFile& executable,
                                                       const Arguments& words, Finished)>
            run;
        std::function<void(const std::string& line)> log;
        std::function<RefusalLog::Clock::time_point()> now;
    };

    using Reply = std::function<void(tl::expected<std::string, Refusal>)>;

    explicit Requests(Dependencies dependencies);
    ~Requests();
    Requests(const Requests&) = delete;
    Requests& operator=(const Requests&) = delete;

    /// Replies once, possibly before it returns, unless the caller goes before.
    void runGoTool(const std::string& caller, const std::string& path, const Arguments& arguments,
                   Reply reply);

    /// For a request that is too large to be looked at.
    void refuseUnread(const std::string& caller, Reply reply);

    /// The connection has ended. What waits for it is dropped; programs that run go on.
    void callerHasGone(const std::string& caller);

    /// To be called now and then: writes how many refusals the log left out.
    void writeCounts() { refusals.writeCounts(); }

    /// A request has not been replied to yet, or a program runs.
    bool isBusy() const { return !arrivals.empty() || !requests.empty(); }

  private:
    struct Request;
    using Shared = std::shared_ptr<Request>;
    struct Arrivals {
        std::vector<Shared> requests;
        unsigned long turnedAway = 0;
    };

    std::optional<Refusal> check(const std::string& path, const Arguments& arguments,
                                 Request& request) const;
    void arrive(Shared request);
    void identified(const std::string& caller, std::optional<uid_t> user);
    void remember(const std::string& caller, uid_t user, unsigned long turnedAway);
    void admit(const Shared& request);
    void ask(const Shared& request, Turns::Turn turn);
    void answered(const Shared& request, bool isAuthorized);
    void start(const Shared& request, Turns::Turn turn);
    void refuse(const Shared& request, const Refusal& refusal);
    void forget(const Shared& request);

    Dependencies dependencies;
    RefusalLog refusals;
    static constexpr std::size_t mostUsers = 4096;
    std::map<std::string, uid_t> users;
    std::map<std::string, Arrivals> arrivals;
    std::set<Shared> requests;
    Turns questions{mostQuestions, longestLine};
    Turns programs{mostPrograms, longestLine};
};

} // namespace quoxelin::helper
