#include "Simulation/Daemon/CommandReader.h"

#include "Simulation/Daemon/Base64.h"

#include <boost/json.hpp>
#include <fmt/format.h>

namespace quoxelin::sim {

namespace json = boost::json;

namespace {

constexpr std::size_t longest = std::size_t{1} << 30;

std::optional<std::size_t> toCount(const json::value& value) {
    json::error_code error;
    const auto number = value.to_number<std::size_t>(error);
    return error ? std::nullopt : std::optional(number);
}

} // namespace

CommandReader::CommandReader(const json::object& commandToRead) : command(commandToRead) {}

const json::value* CommandReader::take(std::string_view name) {
    taken.emplace(name);
    return command.if_contains(name);
}

void CommandReader::fail(std::string what) {
    if (!wrong) {
        wrong = std::move(what);
    }
}

std::optional<std::string> CommandReader::problem() const {
    if (wrong) {
        return wrong;
    }
    for (const auto& member : command) {
        const std::string_view name = member.key();
        if (taken.find(name) == taken.end()) {
            return fmt::format("unknown member \"{}\"", name);
        }
    }
    return std::nullopt;
}

const json::value* CommandReader::value(std::string_view name) {
    return take(name);
}

const json::object* CommandReader::object(std::string_view name) {
    const json::value* found = take(name);
    if (found && !found->is_object()) {
        fail(fmt::format("\"{}\" must be an object", name));
    }
    return found ? found->if_object() : nullptr;
}

std::optional<std::string> CommandReader::text(std::string_view name) {
    const json::value* found = take(name);
    if (!found) {
        return std::nullopt;
    }
    if (!found->is_string()) {
        fail(fmt::format("\"{}\" must be a string", name));
        return std::nullopt;
    }
    return std::string(found->get_string());
}

std::string CommandReader::requiredText(std::string_view name) {
    auto found = text(name);
    if (!found) {
        fail(fmt::format("\"{}\" is missing", name));
    }
    return found.value_or("");
}

bool CommandReader::flag(std::string_view name, bool otherwise) {
    const json::value* found = take(name);
    if (found && !found->is_bool()) {
        fail(fmt::format("\"{}\" must be true or false", name));
    }
    return found && found->is_bool() ? found->get_bool() : otherwise;
}

std::optional<std::size_t> CommandReader::count(std::string_view name) {
    const json::value* found = take(name);
    if (!found) {
        return std::nullopt;
    }
    const auto number = toCount(*found);
    if (!number) {
        fail(fmt::format("\"{}\" must be a whole number, 0 or more", name));
    }
    return number;
}

std::size_t CommandReader::requiredCount(std::string_view name) {
    const auto found = count(name);
    if (!found) {
        fail(fmt::format("\"{}\" is missing", name));
    }
    return found.value_or(0);
}

std::optional<std::chrono::milliseconds> CommandReader::seconds(std::string_view name) {
    const json::value* found = take(name);
    if (!found) {
        return std::nullopt;
    }
    json::error_code error;
    const auto number = found->to_number<double>(error);
    if (error || !(number >= 0 && number <= 86400)) {
        fail(fmt::format("\"{}\" must be a number of seconds from 0 to 86400", name));
        return std::nullopt;
    }
    return std::chrono::milliseconds(static_cast<long>(number * 1000 + 0.5));
}

std::vector<std::size_t> CommandReader::counts(std::string_view name) {
    const json::value* found = take(name);
    if (!found) {
        return {};
    }
    std::vector<std::size_t> numbers;
    bool good = found->is_array();
    for (std::size_t i = 0; good && i < found->get_array().size(); ++i) {
        const auto number = toCount(found->get_array()[i]);
        good = number && (numbers.empty() || *number > numbers.back());
        numbers.push_back(number.value_or(0));
    }
    if (!good) {
        fail(fmt::format("\"{}\" must be a list of rising whole numbers", name));
    }
    return numbers;
}

std::optional<std::string> CommandReader::bytes() {
    auto plain = text("text");
    const auto encoded = text("base64");
    const std::size_t times = count("repeat").value_or(1);
    if (plain && encoded) {
        fail("\"text\" and \"base64\" exclude each other");
    }
    auto once = encoded ? fromBase64(*encoded) : std::move(plain);
    if (encoded && !once) {
        fail("\"base64\" is not padded base64");
    }
    if (!once) {
        return std::nullopt;
    }
    if (!once->empty() && times > longest / once->size()) {
        fail("more than a gigabyte");
        return std::nullopt;
    }
    std::string all;
    all.reserve(once->size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        all += *once;
    }
    return all;
}

std::string CommandReader::requiredBytes() {
    auto found = bytes();
    if (!found) {
        fail("\"text\" or \"base64\" is missing");
    }
    return found.value_or("");
}

} // namespace quoxelin::sim
