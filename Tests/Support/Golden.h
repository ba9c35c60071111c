#pragma once

#include <gtest/gtest.h>
#include <string>

namespace quoxelin::testing {

/// Whether the text is the one kept in Tests/Golden/<name>.txt, else the first line that differs.
///
/// With QUOXELIN_REBASELINE=1 in the environment (scripts/rebaseline) the file is written instead.
::testing::AssertionResult matchesGolden(const std::string& name, const std::string& text);

} // namespace quoxelin::testing
