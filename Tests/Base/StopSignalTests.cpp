#include "Base/StopSignal.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace quoxelin {

TEST(StopSignal, interruptsWhatIsRegistered) {
    StopSignal signal;
    int interruptions = 0;
    const auto registration = signal.onStop([&] { ++interruptions; });
    EXPECT_FALSE(signal.isStopped());
    EXPECT_EQ(interruptions, 0);
    signal.stop();
    EXPECT_TRUE(signal.isStopped());
    EXPECT_EQ(interruptions, 1);
}

TEST(StopSignal, interruptsLateRegistrationsAtOnce) {
    StopSignal signal;
    signal.stop();
    int interruptions = 0;
    const auto registration = signal.onStop([&] { ++interruptions; });
    EXPECT_EQ(interruptions, 1);
}

TEST(StopSignal, doesNotInterruptWhatWasUnregistered) {
    StopSignal signal;
    int interruptions = 0;
    {
        const auto registration = signal.onStop([&] { ++interruptions; });
    }
    signal.stop();
    EXPECT_EQ(interruptions, 0);
}

TEST(StopSignal, doesNotInterruptWhatWasDestroyed) {
    for (int i = 0; i < 200; ++i) {
        StopSignal signal;
        std::thread stopper([&] { signal.stop(); });
        {
            auto alive = std::make_unique<int>(0);
            const auto registration = signal.onStop([&] { ++*alive; });
        }
        stopper.join();
        EXPECT_TRUE(signal.isStopped());
    }
}

} // namespace quoxelin
