# Warnings and sanitizers for our own code.
set(QUOXELIN_SANITIZERS "" CACHE STRING "Sanitizers for the whole build: address,undefined or thread")
option(QUOXELIN_SHELL "Build this operating system's adapter and with it the program" ON)
option(QUOXELIN_BENCHMARKS "Build Benchmarks/" OFF)
option(QUOXELIN_FUZZERS "Build Fuzz/ (clang only)" OFF)

add_library(quoxelin_warnings INTERFACE)
target_compile_options(quoxelin_warnings INTERFACE -Wall -Wextra -Wpedantic -Werror)

if(QUOXELIN_SANITIZERS)
    add_compile_options(-fsanitize=${QUOXELIN_SANITIZERS} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QUOXELIN_SANITIZERS})
endif()

if(QUOXELIN_FUZZERS)
    # Instruments all code, because coverage guides the fuzzers.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# read_once(TARGET HEADER...): precompiles headers that most files of TARGET include. Each file
# still includes what it uses; the clang preset compiles without precompiled headers.
function(read_once target)
    target_precompile_headers(${target} PRIVATE <algorithm> <array> <chrono>
        <fmt/format.h> <functional> <map> <memory> <optional> <string> <string_view>
        <tl/expected.hpp> <utility> <vector> ${ARGN})
endfunction()
