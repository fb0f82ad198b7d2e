#pragma once

#include <memory>

#include "core/platform/named_event.h"

namespace veldane {

/// The request to cancel, as one long-running function sees it. Each opens one at its start; the
/// end of its scope closes it on every way out.
///
/// The closing resets the event, so the end of a function, also of one nested in another, clears a
/// request that nobody has polled yet.
class HaltEvent {
  public:
    HaltEvent() = default;
    HaltEvent(const HaltEvent&) = delete;
    HaltEvent& operator=(const HaltEvent&) = delete;
    ~HaltEvent() { close(); }

    /// False if the process has no event; the computation then runs and cannot be cancelled.
    bool open();

    /// True once a request was seen, and from then on for this object as long as it is open.
    bool poll();

    void close();

  private:
    std::shared_ptr<NamedEvent> handle_;
    bool halted_ = false;
};

/// Signals the event of a process, the own one with its id or 0. False if there is none.
bool requestHalt(int processId);

}  // namespace veldane
