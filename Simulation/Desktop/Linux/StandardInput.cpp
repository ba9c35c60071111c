#include "Simulation/Desktop/Linux/StandardInput.h"

#include <QAbstractEventDispatcher>
#include <unistd.h>

namespace quoxelin {

StandardInput::StandardInput(std::function<void(std::string_view line)> take,
                             std::function<void()> beforeWaiting)
    : lines(std::move(take)) {
    if (::isatty(STDIN_FILENO) != 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] {
        if (!lines.read(STDIN_FILENO))
            notifier->setEnabled(false);
    });
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                     notifier.get(), std::move(beforeWaiting));
}

} // namespace quoxelin
