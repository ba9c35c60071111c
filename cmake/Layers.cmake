# Include directories keep a box from including other boxes. This check rejects the rest: system
# headers, paths with "..", conditions on the operating system. It runs before anything compiles.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(checked)
foreach(box Base View Platform Runner Helper)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS
        ${box}/*.h ${box}/*.cpp ${box}/*.mm ${box}/*.m)
    list(APPEND checked ${found})
endforeach()
add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/layers.stamp
    COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/check-layers
        --stamp ${PROJECT_BINARY_DIR}/layers.stamp
    DEPENDS ${checked} ${PROJECT_SOURCE_DIR}/scripts/check-layers
    COMMENT "Checking the layers"
    VERBATIM)
add_custom_target(layers DEPENDS ${PROJECT_BINARY_DIR}/layers.stamp)
