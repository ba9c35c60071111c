#include "Platform/Linux/Desktop.h"

#include <gtest/gtest.h>

/// The tests run in an application without a display, set up as the program sets up its own.
int main(int argc, char** argv) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    ::testing::InitGoogleTest(&argc, argv);
    const quoxelin::Toolkit toolkit(argv[0]);
    return RUN_ALL_TESTS();
}
