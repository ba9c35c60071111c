// Stands in for the command-line tool: records its arguments.

#include "Calls.h"

int main(int, char** arguments) {
    stand_ins::noteCall(arguments);
    std::printf("quoxelin %s: done\n", arguments[1] == nullptr ? "" : arguments[1]);
    return 0;
}
