#pragma once

#include <cstddef>
#include <string_view>

/// Replaces functions of the C library in this program, so that a chosen call of them fails.
namespace quoxelin::failing {

/// From now on counts the calls of that function and makes the `number`-th fail; 0 for none.
void choose(std::string_view function, std::size_t number);

/// Ends this, and returns how many calls there were.
std::size_t stop();

/// The blocks of memory that are in use.
std::size_t blocksInUse();

} // namespace quoxelin::failing
