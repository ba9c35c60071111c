// Our decoding agrees with a slow one on another JSON library. The first byte chooses the record.
#include "Base/Json.h"
#include "Fuzz/Fuzzing.h"
#include "Runner/Models/HashiBus/HashiBusNotify.h"
#include "Runner/Models/HashiBus/ProfilesResponse.h"
#include "Runner/Shared/HashiStatus.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace quoxelin::fuzzing {

namespace {

using Reference = nlohmann::json;

bool read(const Reference& value, std::string& into) {
    if (value.is_string())
        into = value.get<std::string>();
    return value.is_string();
}

bool read(const Reference& value, bool& into) {
    if (value.is_boolean())
        into = value.get<bool>();
    return value.is_boolean();
}

bool read(const Reference& value, std::int64_t& into) {
    if (value.is_number_float()) {
        const auto number = value.get<double>();
        if (std::abs(number) >= 0x1p53)
            throw Reference::out_of_range::create(0, "rounded", &value);
        if (std::floor(number) != number)
            return false;
        into = static_cast<std::int64_t>(number);
        return true;
    }
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX)
        return false;
    if (value.is_number_integer())
        into = value.get<std::int64_t>();
    return value.is_number_integer();
}

bool read(const Reference& value, HashiBusState& into) {
    return decodeValue(json::parse(value.dump()).value(), into).empty();
}

template <typename T>
bool read(const Reference& value, std::vector<T>& into);
template <typename T>
bool read(const Reference& value, std::map<std::string, T>& into);

template <typename T>
bool read(const Reference& value, json::Later<T>& into) {
    T now;
    const bool succeeded = read(value, now);
    if (succeeded)
        into = now;
    return succeeded;
}

struct Reader;

template <typename Record>
requires requires(Record& record, Reader& reader) {
    Record::describe(record, reader);
}
bool read(const Reference& value, Record& into);

struct Reader {
    template <typename T>
    void operator()(const char* key, T& member) {
        const auto found = object.find(key);
        succeeded = succeeded && found != object.end() && read(*found, member);
    }
    template <typename T>
    void operator()(const char* key, std::optional<T>& member) {
        const auto found = object.find(key);
        if (found != object.end() && !found->is_null())
            succeeded = succeeded && read(*found, member.emplace());
    }
    template <typename T>
    void operator()(const char* key, std::vector<T>& member) {
        const auto found = object.find(key);
        succeeded = succeeded && (found == object.end() || read(*found, member));
    }
    const Reference& object;
    bool succeeded = true;
};

template <typename T>
bool read(const Reference& value, std::vector<T>& into) {
    if (value.is_null())
        return true;
    bool succeeded = value.is_array();
    for (std::size_t index = 0; succeeded && index < value.size(); ++index)
        succeeded = read(value[index], into.emplace_back());
    return succeeded;
}

template <typename T>
bool read(const Reference& value, std::map<std::string, T>& into) {
    bool succeeded = value.is_object();
    for (auto member = value.begin(); succeeded && member != value.end(); ++member)
        succeeded = read(*member, into[member.key()]);
    return succeeded;
}

template <typename Record>
requires requires(Record& record, Reader& reader) {
    Record::describe(record, reader);
}
bool read(const Reference& value, Record& into) {
    if (!value.is_object())
        return false;
    Reader reader{value};
    Record::describe(into, reader);
    return reader.succeeded;
}

template <typename Record>
void compare(std::string_view text) {
    const auto ours = json::decode<Record>(text);
    // The reference knows neither limit of ours.
    const auto depth = [](int level, auto, auto&) {
        if (level >= 512)
            throw std::length_error("deep");
        return true;
    };
    Reference value;
    Record theirs;
    bool succeeded = false;
    try {
        value = Reference::parse(text, depth);
        succeeded = read(value, theirs);
    } catch (const Reference::out_of_range&) {
        return; // a huge number, which we only reject where it is read, and never round
    } catch (const std::exception&) {
        return require(!ours);
    }
    require(ours.has_value() == succeeded);
    require(!succeeded || *ours == theirs);
}

} // namespace

} // namespace quoxelin::fuzzing

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    const auto text = fuzzing::text(data, size);
    // The reference skips a byte-order mark and ends at a NUL.
    if (text.empty() || text.substr(1).starts_with("\xEF\xBB\xBF") ||
        text.find('\0', 1) != text.npos)
        return 0;
    switch (data[0] % 3) {
    case 0:
        fuzzing::compare<HashiBusNotify>(text.substr(1));
        break;
    case 1:
        fuzzing::compare<ProfilesResponse>(text.substr(1));
        break;
    default:
        fuzzing::compare<HashiStatus>(text.substr(1));
    }
    return 0;
}
