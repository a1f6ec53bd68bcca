#pragma once

#include <memory>
#include <string>

/// A shared object that is loaded while this lives.
class SharedLibrary {
 public:
  /// Throws a std::runtime_error that names the file and the reason.
  explicit SharedLibrary(const std::string& path);

  /// Whether this process has it loaded.
  [[nodiscard]] static bool isLoaded(const std::string& path);
  /// Points `function` to the export called `name`; throws std::runtime_error if there is none.
  template <typename Function>
  void find(Function*& function, const char* name) const {
    function = reinterpret_cast<Function*>(symbol(name));
  }

 private:
  [[nodiscard]] void* symbol(const char* name) const;
  struct Close {
    void operator()(void* handle) const noexcept;
  };
  std::unique_ptr<void, Close> handle;
};
