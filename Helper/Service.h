#pragma once

#include "Helper/Bus.h"
#include "Helper/Spawn.h"

#include <list>

namespace quoxelin::helper {

/// The helper on the system bus. It serves until it has had nothing to do for a minute, the bus
/// goes away or SIGTERM comes. Programs that run need none of it. One thread, with its own event
/// loop.
class Service {
  public:
    /// `write` gets the lines for the system's log.
    Service(std::string bundleRoot, std::function<void(const std::string&)> write);
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Returns when it has served. A failure to begin is a text for standard error.
    tl::expected<void, std::string> serve();

  private:
    struct Run;
    static int ping(sd_bus_message* call, void* self, sd_bus_error*);
    static int runGoTool(sd_bus_message* call, void* self, sd_bus_error*);
    static int nameHasGone(sd_bus_message* signal, void* self, sd_bus_error*);
    static int programEnded(sd_event_source*, const siginfo_t* how, void* run);

    Requests::Dependencies dependencies(std::string bundleRoot,
                                        std::function<void(const std::string&)> write);
    tl::expected<pid_t, std::string> run(const TrustedFile& executable, const Arguments& words,
                                         Requests::Finished finished);
    int connect();
    int offer();
    void waitForCalls();
    void leaveIfIdle();

    Owned<sd_event> event;
    Owned<sd_bus> bus;
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
