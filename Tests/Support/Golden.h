#pragma once

#include <gtest/gtest.h>
#include <string>

namespace quoxelin::testing {

/// The content of Tests/Golden/<name>.txt; empty if it is missing.
std::string goldenText(const std::string& name);

/// Succeeds if the text equals Tests/Golden/<name>.txt. Otherwise reports the first line that
/// differs.
///
/// With QUOXELIN_REBASELINE=1 in the environment (scripts/rebaseline), writes the file instead.
::testing::AssertionResult matchesGolden(const std::string& name, const std::string& text);

} // namespace quoxelin::testing
