#include "Platform/Linux/Desktop.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

/// Runs the tests in an application without a display, set up like the program's own. GLib reads
/// the environment once per process, so the empty user directories must exist first.
int main(int argc, char** argv) {
    const quoxelin::testing::TemporaryDirectory home;
    for (const char* variable :
         {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME",
          "XDG_RUNTIME_DIR", "XDG_DATA_DIRS", "XDG_CONFIG_DIRS"})
        ::setenv(variable, home.path().c_str(), 1);
    for (const char* bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"})
        ::setenv(bus, "disabled:", 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    ::testing::InitGoogleTest(&argc, argv);
    quoxelin::Bus noBus("");
    const quoxelin::Toolkit toolkit(argv[0], noBus);
    return RUN_ALL_TESTS();
}
