// Stands in for the command-line tool: records its arguments. While /run/stand-ins has a file
// tool-holds, it keeps writing; then it leaves a file tool-ended.

#include "Calls.h"

#include <fstream>

namespace {

void writeOn() {
    const std::string folder = stand_ins::folder;
    if (::access((folder + "/tool-holds").c_str(), F_OK) != 0)
        return;
    while (::access((folder + "/tool-holds").c_str(), F_OK) == 0) {
        for (int count = 0; count < 1000; ++count)
            std::puts("quoxelin goes on");
        ::usleep(1000);
    }
    std::ofstream(folder + "/tool-ended") << "ended";
}

} // namespace

int main(int, char** arguments) {
    stand_ins::noteCall(arguments);
    writeOn();
    std::printf("quoxelin %s: done\n", arguments[1] == nullptr ? "" : arguments[1]);
    return 0;
}
