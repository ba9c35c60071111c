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

/// Decides on requests to run a program. Everything that is not explicitly allowed is refused. The
/// checks, cheapest first: is the command line known, does polkit allow it, can the file be
/// trusted. One thread.
///
/// Users do not affect each other: each has a limited number of simultaneous questions and
/// programs, and a separate queue of waiting requests. Root has no limits.
class Requests {
  public:
    /// Requests of one connection whose user is not known yet.
    static constexpr std::size_t mostArrivals = 8;
    /// Limits for each user: unanswered questions (polkit handles them one by one), running
    /// programs, and requests that wait for either.
    static constexpr std::size_t mostQuestions = 2;
    static constexpr std::size_t mostPrograms = 8;
    static constexpr std::size_t longestLine = 64;

    /// A question to polkit.
    struct Question {
        std::string caller; ///< the connection
        std::string program;
        std::string command;
    };
    using Finished = std::function<void(std::string output, std::string howItEnded)>;

    struct Dependencies {
        std::string bundleRoot;
        /// Answers once with the user of a connection; empty if it is closed.
        std::function<void(const std::string& caller, std::function<void(std::optional<uid_t>)>)>
            identify;
        /// Answers once; false if polkit cannot be asked. Destroying the returned object cancels
        /// the question.
        std::function<std::shared_ptr<void>(const Question&, std::function<void(bool)>)> authorize;
        /// Reads the bundle's Info.plist.
        std::function<tl::expected<std::string, std::string>(const std::string& path)> read;
        std::function<tl::expected<TrustedFile, std::string>(const std::string& path)> open;
        /// Starts a program and returns its process. Calls back once, when it has ended.
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

    /// Replies once, possibly before it returns, unless the caller disconnects first.
    void runGoTool(const std::string& caller, const std::string& path, const Arguments& arguments,
                   Reply reply);

    /// For a request that is too large to read.
    void refuseUnread(const std::string& caller, Reply reply);

    /// The connection has ended. Drops its waiting requests; running programs continue.
    void callerHasGone(const std::string& caller);

    /// Writes how many refusals the log left out in the minutes that are over. Returns whether to
    /// call it again, a minute later.
    bool writeCounts() { return refusals.writeCounts(); }

    /// Whether there are unanswered requests or running programs.
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
