#include "core/halt_event.h"

#include "core/platform/process.h"
#include "core/status.h"

namespace veldane {
namespace {

std::string eventName(int processId) {
    return formatMessage("HaltMorla%d", processId);
}

/// The event of this process, which exists for as long as the library is loaded.
class ProcessEvent {
  public:
    ProcessEvent() { create(); }
    ProcessEvent(const ProcessEvent&) = delete;
    ProcessEvent& operator=(const ProcessEvent&) = delete;

    /// A computation may still run on another thread when the process ends, so the members are left
    /// fit for use: it keeps the page that it holds, and no new event is made.
    ~ProcessEvent() {
        if (event_ && processId_ == currentProcessId()) event_->remove();
        event_.reset();
    }

    const std::shared_ptr<NamedEvent>& event() {
        // A forked child has the parent's page under the parent's name and needs its own.
        if (processId_ != currentProcessId()) create();
        return event_;
    }

  private:
    void create() {
        processId_ = currentProcessId();
        event_ = NamedEvent::create(eventName(processId_));
    }

    int processId_ = 0;
    std::shared_ptr<NamedEvent> event_;
};

ProcessEvent processEvent;

}  // namespace

bool HaltEvent::open() {
    handle_ = processEvent.event();
    halted_ = false;
    return handle_ != nullptr;
}

bool HaltEvent::poll() {
    if (!handle_) return false;
    if (!halted_) halted_ = handle_->isSet();
    return halted_;
}

void HaltEvent::close() {
    if (!handle_) return;
    handle_->reset();
    handle_.reset();
}

bool requestHalt(int processId) {
    if (processId == 0 || processId == currentProcessId()) {
        NamedEvent* own = processEvent.event().get();
        if (own) own->signal();
        return own != nullptr;
    }
    const std::shared_ptr<NamedEvent> other = NamedEvent::open(eventName(processId));
    if (other) other->signal();
    return other != nullptr;
}

}  // namespace veldane
