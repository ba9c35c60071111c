// Any bytes decode to a record or fail. A decoded record survives encoding unchanged, and the
// generic tree can be walked completely.
#include "Base/Json.h"
#include "Base/Utf8.h"
#include "Fuzz/Fuzzing.h"
#include "Runner/Models/HashiBus/DaemonStatus.h"
#include "Runner/Models/HashiBus/HashiBusNotify.h"
#include "Runner/Models/HashiBus/ProfilesResponse.h"

namespace quoxelin::fuzzing {

namespace {

std::size_t walk(const json::Value& value, std::size_t depth) {
    require(depth <= 512);
    if (const auto text = value.string())
        require(isValidUtf8(*text));
    const int types = value.string().has_value() + value.boolean().has_value() +
                      value.integer().has_value() + value.isNull() + value.isArray() +
                      value.isObject();
    require(types <= 1);
    std::size_t count = 1;
    for (const auto& [key, member] : value.members()) {
        require(isValidUtf8(key));
        require(value.find(key) == &member);
        count += walk(member, depth + 1);
    }
    for (const auto& element : value.elements())
        count += walk(element, depth + 1);
    return count;
}

template <typename Record>
void roundTrip(std::string_view text) {
    const auto record = json::decode<Record>(text);
    if (!record)
        require(!record.error().description.empty());
    else
        require(json::decode<Record>(json::encode(*record)) == record);
}

} // namespace

} // namespace quoxelin::fuzzing

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    const auto text = fuzzing::text(data, size);
    if (const auto tree = json::parse(text)) {
        fuzzing::require(isValidUtf8(text));
        fuzzing::require(fuzzing::walk(*tree, 0) > 0);
        fuzzing::require(json::parse(json::serialize(*tree)) == tree);
        fuzzing::require(DaemonStatus::parse(text).has_value() == tree->isObject());
    }
    fuzzing::roundTrip<HashiBusNotify>(text);
    fuzzing::roundTrip<ProfilesResponse>(text);
    return 0;
}
