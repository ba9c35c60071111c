#include "Simulation/Desktop/Linux/StandardInput.h"

#include <unistd.h>

namespace quoxelin {

StandardInput::StandardInput(std::function<void(std::string_view line)> take)
    : lines(std::move(take)) {
    if (::isatty(STDIN_FILENO) != 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] {
        if (!lines.read(STDIN_FILENO))
            notifier->setEnabled(false);
    });
}

} // namespace quoxelin
