#pragma once

#include "Base/Result.h"
#include "Runner/Shared/HashiStatus.h"
#include "Runner/Shared/HelperConnection.h"
#include "Runner/Shared/QuoxelinExecError.h"

#include <string>
#include <vector>

namespace quoxelin {

class SystemLog;

/// Runs the daemon and its command-line tool through the privileged helper and reports the results.
/// One connection per command. Writes to the system's log, category "XPC". It has members and not
/// globals, so that tests can replace the helper and the bundle.
///
/// Any thread. A completion is called once: on the connection's private queue, or before the call
/// returns if there is no helper. There is no time-out: if the helper never replies, the completion
/// is never called.
class QuoxelinCommands {
  public:
    struct Dependencies {
        SystemLog& systemLog;
        XPC& xpc;
        NSBundle& mainBundle;
    };

    explicit QuoxelinCommands(const Dependencies& dependencies);

    static QuoxelinCommands& shared();

    /// Starts the daemon with the bundle's conductor and signal hosts. False if it is known at once
    /// that there is no helper. The reply is only logged.
    bool execQuoxelindUp();

    /// Brings the connection up. True for any output of the tool; fails with `connectionFailed`.
    void execQuoxelinUp(const Completion<bool, QuoxelinExecError>& completion);

    /// Brings the connection down. True for any output of the tool; fails with `connectionFailed`.
    void execQuoxelinDown(const Completion<bool, QuoxelinExecError>& completion);

    /// Starts a login. The status says where the user continues. Fails with `connectionFailed` or
    /// `decodingFailed`.
    void execQuoxelinLogin(const Completion<HashiStatus, QuoxelinExecError>& completion);

    /// Fails with `connectionFailed` or `decodingFailed`.
    void execQuoxelinStatus(const Completion<HashiStatus, QuoxelinExecError>& completion);

  private:
    /// Shared with connections that outlive a command.
    struct Log {
        SystemLog& systemLog;
        std::string subsystem;
        void operator()(const std::string& message) const;
    };

    void run(const std::string& path, const std::vector<std::string>& arguments,
             const std::function<void(const std::string& output)>& onReply,
             const std::function<void()>& onFailure);
    void runForStatus(const std::vector<std::string>& arguments,
                      const Completion<HashiStatus, QuoxelinExecError>& completion);
    void runForSuccess(const std::vector<std::string>& arguments,
                       const Completion<bool, QuoxelinExecError>& completion);

    Log log;
    XPC& xpc;
    NSBundle& mainBundle;
    const std::string quoxelinPath;
    const std::string quoxelindPath;
};

} // namespace quoxelin
