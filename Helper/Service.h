#pragma once

#include "Helper/Bus.h"
#include "Helper/Spawn.h"

#include <list>

namespace quoxelin::helper {

/// The helper on a bus. It ends the event loop when it has had nothing to do for a minute, or when
/// it loses the bus or cannot have its name. Programs that it has started run on. One thread, the
/// event loop's; SIGCHLD is blocked there.
class Service {
  public:
    /// Two started connections, attached to the event loop: one for calls, and one for the helper's
    /// own questions. The second has no name, so that no user can fill its queue; the bus loses
    /// answers to a connection whose queue is full. `write` gets the lines for the system's log.
    /// The bundle is below `trust.root`.
    Service(sd_event* event, sd_bus* calls, sd_bus* questions, std::string bundleRoot,
            std::function<void(const std::string&)> write, const Trust& trust = {});
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Serves from now on. Negative if that fails: the number of the error.
    int begin();

  private:
    struct Run;
    static int ping(sd_bus_message* call, void* self, sd_bus_error*);
    static int runGoTool(sd_bus_message* call, void* self, sd_bus_error*);
    static int nameHasGone(sd_bus_message* signal, void* self, sd_bus_error*);
    static int programEnded(sd_event_source*, const siginfo_t* how, void* run);

    Requests::Dependencies dependencies(std::string bundleRoot,
                                        std::function<void(const std::string&)> write,
                                        const Trust& trust);
    tl::expected<pid_t, std::string> run(const TrustedFile& executable, const Arguments& words,
                                         Requests::Finished finished);
    void waitForCalls();
    void leaveIfIdle();

    sd_event* const event;
    sd_bus* const calls;
    sd_bus* const questions;
    Owned<sd_event_source> idleTimer;
    std::map<std::string, std::shared_ptr<void>> identities;
    /// Connections that have sent a call that is too large: to look at more of them takes time that
    /// others would wait.
    std::set<std::string> unread;
    std::list<Run> runs;
    Requests requests;
    bool isLeaving = false;
};

} // namespace quoxelin::helper
