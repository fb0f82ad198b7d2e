#pragma once

#include <atomic>
#include <memory>
#include <string>

namespace veldane {

/// A manual-reset event that processes of one user share by name: one atomic word in a page of
/// shared memory. The destructor lets go of the page and leaves the name.
class NamedEvent {
  public:
    /// A new event, not signalled. What stands under the name is replaced. Null if the system has
    /// no shared memory for it.
    static std::shared_ptr<NamedEvent> create(const std::string& name);

    /// The event of that name; null if there is none, or none of this user's.
    static std::shared_ptr<NamedEvent> open(const std::string& name);

    NamedEvent(const NamedEvent&) = delete;
    NamedEvent& operator=(const NamedEvent&) = delete;
    ~NamedEvent();

    void signal() { word().store(1); }
    void reset() { word().store(0); }
    bool isSet() const { return word().load() != 0; }

    /// Takes the name away. Who holds the event keeps it.
    void remove();

  private:
    using Word = std::atomic<int>;
    static_assert(Word::is_always_lock_free);

    NamedEvent(std::string path, void* page) : path_(std::move(path)), page_(page) {}

    static std::shared_ptr<NamedEvent> map(std::string path, int file);
    Word& word() const { return *static_cast<Word*>(page_); }

    std::string path_;
    void* page_;
};

}  // namespace veldane
