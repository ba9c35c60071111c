#pragma once

#include "Base/Json.h"

#include <gtest/gtest.h>
#include <memory>

namespace quoxelin::sim {

/// A JSON value for tests. A missing part fails the test and is read as null.
class Tree {
  public:
    Tree(json::Value value) : value(std::make_shared<const json::Value>(std::move(value))) {}
    Tree(json::Object members) : Tree(json::Value(std::move(members))) {}
    Tree(json::Array elements) : Tree(json::Value(std::move(elements))) {}

    static Tree parse(std::string_view text) {
        auto parsed = json::parse(text);
        EXPECT_TRUE(parsed) << text;
        return parsed.value_or(json::Value());
    }

    Tree at(std::string_view key) const { return part(value->find(key)); }
    Tree at(std::size_t index) const {
        return part(index < size() ? &value->elements()[index] : nullptr);
    }
    bool contains(std::string_view key) const { return value->find(key) != nullptr; }
    bool isNull() const { return value->isNull(); }
    std::size_t size() const { return value->elements().size(); }
    std::string text() const { return std::string(value->string().value_or("")); }
    std::int64_t number() const { return value->integer().value_or(-1); }

    /// Whether it is exactly this value.
    bool operator==(const json::Value& other) const { return *value == other; }
    bool operator==(const Tree& other) const { return *value == *other.value; }

  private:
    Tree(std::shared_ptr<const json::Value> value) : value(std::move(value)) {}

    Tree part(const json::Value* found) const {
        EXPECT_NE(found, nullptr);
        return found != nullptr ? Tree(std::shared_ptr<const json::Value>(value, found))
                                : Tree(json::Value());
    }

    std::shared_ptr<const json::Value> value;
};

} // namespace quoxelin::sim
