#include "Platform/macOS/MacQuitSignals.h"

#include "Platform/macOS/MainRunLoop.h"

#import <Foundation/Foundation.h>
#include <array>
#include <csignal>

namespace quoxelin {

namespace {

constexpr std::array quitSignals{SIGINT, SIGTERM};

/// Does nothing: the dispatch source sees the signal as well.
void passOver(int) {}

void handleWith(void (*handler)(int)) {
    struct sigaction action {};
    // Not SIG_IGN, because programs that we start would inherit it.
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : quitSignals)
        ::sigaction(number, &action, nullptr);
}

} // namespace

struct MacQuitSignals::Sources {
    std::shared_ptr<std::function<void()>> quit;
    std::array<dispatch_source_t, quitSignals.size()> each;
};

MacQuitSignals::MacQuitSignals(std::function<void()> quit) : sources(std::make_unique<Sources>()) {
    sources->quit = std::make_shared<std::function<void()>>(std::move(quit));
    const std::weak_ptr weak = sources->quit;
    handleWith(passOver);
    for (std::size_t i = 0; i < quitSignals.size(); ++i) {
        sources->each[i] = dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL,
                                                  static_cast<uintptr_t>(quitSignals[i]), 0,
                                                  dispatch_get_global_queue(QOS_CLASS_DEFAULT, 0));
        dispatch_source_set_event_handler(sources->each[i], ^{
            onMainRunLoop([weak] {
                if (const auto held = weak.lock())
                    (*held)();
            });
        });
        dispatch_resume(sources->each[i]);
    }
}

MacQuitSignals::~MacQuitSignals() {
    for (const auto& source : sources->each)
        dispatch_source_cancel(source);
    handleWith(SIG_DFL);
}

} // namespace quoxelin
