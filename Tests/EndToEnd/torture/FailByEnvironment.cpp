// In quoxelin-desktop-sim-failing. FAILING_CALL=connect:2 makes the second connect() fail, and
// connect:0 none. The file that COUNTED_CALLS names has the number of calls so far.
#include "Tests/EndToEnd/torture/FailingCalls.h"

#include <charconv>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace quoxelin::failing {

namespace {

[[gnu::constructor]] void chooseByEnvironment() {
    const char* const wanted = std::getenv("FAILING_CALL");
    const char* const file = std::getenv("COUNTED_CALLS");
    if (wanted == nullptr || file == nullptr)
        return;
    using Count = std::atomic<std::size_t>;
    const int descriptor = ::open(file, O_RDWR | O_CLOEXEC);
    void* const place =
        ::mmap(nullptr, sizeof(Count), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (place == MAP_FAILED)
        std::abort();
    countIn(*static_cast<Count*>(place));
    const std::string_view text = wanted;
    const auto colon = text.find(':');
    std::size_t number = 0;
    std::from_chars(text.data() + colon + 1, text.data() + text.size(), number);
    choose(text.substr(0, colon), number);
}

} // namespace

} // namespace quoxelin::failing
