#pragma once

namespace veldane {

/// A library that is looked up by name when the program runs. It stays loaded.
class SharedLibrary {
  public:
    SharedLibrary() = default;

    /// Holds nothing if the system finds no such library.
    explicit SharedLibrary(const char* name);

    explicit operator bool() const { return handle_ != nullptr; }

    /// The address of a function; null if there is none of that name, or no library.
    template <class Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(address(name));
    }

  private:
    void* address(const char* name) const;

    void* handle_ = nullptr;
};

}  // namespace veldane
