#pragma once

#include "Base/Dispatch.h"
#include "Platform/NSWorkspace.h"

#include <deque>
#include <vector>

namespace quoxelin {

/// An open panel and the person in front of it. Main thread only.
class SimulatedOpenPanel final : public NSOpenPanel {
  public:
    using Choice = std::optional<std::filesystem::path>;

    explicit SimulatedOpenPanel(Dispatch& dispatch) : dispatch(dispatch) {}

    void begin(const NSOpenPanelOptions& options,
               std::function<void(Choice)> completionHandler) override;

    /// The person chooses the folder in the panel that was shown first; false when none is shown.
    bool choose(const std::filesystem::path& folder) { return answer(folder); }
    bool cancel() { return answer(std::nullopt); }

    /// How many panels are on the screen.
    std::size_t shown() const { return waiting.size(); }

    /// What every panel so far was made of.
    const std::vector<NSOpenPanelOptions>& history() const { return begun; }

  private:
    bool answer(Choice choice);

    Dispatch& dispatch;
    std::deque<std::function<void(Choice)>> waiting;
    std::vector<NSOpenPanelOptions> begun;
};

} // namespace quoxelin
