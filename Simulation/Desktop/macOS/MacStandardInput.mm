#include "Simulation/Desktop/macOS/MacStandardInput.h"

#import <Foundation/Foundation.h>
#include <unistd.h>

namespace quoxelin {

struct MacStandardInput::Source {
    explicit Source(std::function<void(std::string_view line)> take) : lines(std::move(take)) {
        dispatch_source_set_event_handler(source, ^{
            if (!lines.read(STDIN_FILENO))
                dispatch_source_cancel(source);
        });
        dispatch_resume(source);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    ~Source() { dispatch_source_cancel(source); }

    LineReader lines;
    const dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_READ, STDIN_FILENO,
                                                            0, dispatch_get_main_queue());
};

MacStandardInput::MacStandardInput(std::function<void(std::string_view line)> take) {
    if (::isatty(STDIN_FILENO) == 0)
        source = std::make_unique<Source>(std::move(take));
}

MacStandardInput::~MacStandardInput() = default;

} // namespace quoxelin
