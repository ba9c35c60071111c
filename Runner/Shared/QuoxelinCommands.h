#pragma once

#include "Base/Result.h"
#include "Runner/Shared/HashiStatus.h"
#include "Runner/Shared/HelperConnection.h"
#include "Runner/Shared/QuoxelinExecError.h"

#include <string>
#include <vector>

namespace quoxelin {

class SystemLog;

/// Runs the daemon and its command-line tool through the privileged helper and hands on what came
/// of it. One connection a command. What happens is written to the system's log, category "XPC".
///
/// Calls may come from any thread. A completion is called once: on the connection's private queue,
/// or before the call returns when there is no helper. There is no time-out: a helper that never
/// replies leaves it uncalled.
class QuoxelinCommands {
  public:
    struct Dependencies {
        SystemLog& systemLog;
        XPC& xpc;
        NSBundle& mainBundle;
    };

    explicit QuoxelinCommands(const Dependencies& dependencies);

    static QuoxelinCommands& shared();

    /// Starts the daemon, pointed at the bundle's conductor and signal hosts. False when there is
    /// no helper; true says that the helper was asked. Its reply is only logged.
    bool execQuoxelindUp();

    /// Brings the connection up. True, whatever the tool says; fails with `connectionFailed`.
    void execQuoxelinUp(const Completion<bool, QuoxelinExecError>& completion);

    /// Brings the connection down. True, whatever the tool says; fails with `connectionFailed`.
    void execQuoxelinDown(const Completion<bool, QuoxelinExecError>& completion);

    /// Starts a login: the status tells where the user goes on with it. Fails with
    /// `connectionFailed` or `decodingFailed`.
    void execQuoxelinLogin(const Completion<HashiStatus, QuoxelinExecError>& completion);

    /// Fails with `connectionFailed` or `decodingFailed`.
    void execQuoxelinStatus(const Completion<HashiStatus, QuoxelinExecError>& completion);

  private:
    /// Where the lines go; kept by connections that outlive a command.
    struct Log {
        SystemLog& systemLog;
        std::string subsystem;
        void operator()(const std::string& message) const;
    };

    bool run(const std::string& path, const std::vector<std::string>& arguments,
             const std::function<void(const std::string& output)>& onReply);
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
