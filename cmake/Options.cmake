# Warnings and sanitizers for our own code.
set(QUOXELIN_SANITIZERS "" CACHE STRING "Sanitizers for the whole build: address,undefined or thread")
option(QUOXELIN_SHELL "Build this operating system's shell, and with it the program" ON)
set(QUOXELIN_STAGE "" CACHE PATH
    "Without a Mac: the folder of GNUstep, on which the macOS shell is built and tested")
option(QUOXELIN_BENCHMARKS "Build Benchmarks/" OFF)
option(QUOXELIN_FUZZERS "Build Fuzz/ (clang only)" OFF)

set(QUOXELIN_MACOS OFF)
if(APPLE OR QUOXELIN_STAGE)
    set(QUOXELIN_MACOS ON)
endif()

add_library(quoxelin_warnings INTERFACE)
target_compile_options(quoxelin_warnings INTERFACE -Wall -Wextra -Wpedantic -Werror)

# The same sources give the same bytes in every folder.
add_compile_options($<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>)

# Inline functions that nothing calls stay out of the programs, and relative relocations take about a bit
# each instead of 24 bytes.
if(NOT APPLE)
    add_link_options(
        $<$<CONFIG:Release>:-Wl,--gc-sections> $<$<CONFIG:Release>:-Wl,-z,pack-relative-relocs>)
endif()

if(QUOXELIN_SANITIZERS)
    add_compile_options(-fsanitize=${QUOXELIN_SANITIZERS} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QUOXELIN_SANITIZERS})
endif()

if(QUOXELIN_FUZZERS)
    # Instruments all code, because coverage guides the fuzzers.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# compile_together(TARGET): compiles several of TARGET's files as one, so that shared headers and
# templates are compiled once. Each file still includes what it uses; the clang preset compiles them
# separately.
option(QUOXELIN_COMPILE_TOGETHER "Compile several files of a target as one" ON)
function(compile_together target)
    set_target_properties(${target} PROPERTIES
        UNITY_BUILD ${QUOXELIN_COMPILE_TOGETHER} UNITY_BUILD_BATCH_SIZE 8)
    if(QUOXELIN_COMPILE_TOGETHER)
        # GCC treats the included files as headers and warns about their anonymous namespaces.
        target_compile_options(${target} PRIVATE
            $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    endif()
endfunction()
