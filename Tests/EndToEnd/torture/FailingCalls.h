#pragma once

#include <atomic>
#include <cstddef>
#include <string_view>

/// Replaces functions of the C library in this program, so that a chosen call of them fails. Calls
/// with the three standard streams count as none.
namespace quoxelin::failing {

/// From now on counts the calls of that function and makes the `number`-th fail; 0 for none.
void choose(std::string_view function, std::size_t number);

/// From now on counts there, so that others see it while the program runs.
void countIn(std::atomic<std::size_t>& place);

/// Ends this, and returns how many calls there were.
std::size_t stop();

/// The blocks of memory that are in use.
std::size_t blocksInUse();

} // namespace quoxelin::failing
