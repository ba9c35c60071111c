// Whatever a user, the daemon and the system do, the store keeps its invariants. The bytes choose
// what happens; a long walk takes seconds.
#include "Fuzz/Fuzzing.h"
#include "Tests/Support/StoreWalk.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin::testing;
    ::testing::FLAGS_gtest_break_on_failure = true;
    StoreWalk walk{Dice(quoxelin::fuzzing::text(data, std::min<std::size_t>(size, 250)))};
    while (!walk.isOver())
        walk.step();
    walk.end();
    return 0;
}
