#pragma once

#include <memory>
#include <string>

/// A shared object, loaded as long as this lives.
class SharedLibrary {
 public:
  /// Throws std::runtime_error that names the file and what is wrong with it.
  explicit SharedLibrary(const std::string& path);

  /// Whether anybody in this process has it loaded.
  [[nodiscard]] static bool isLoaded(const std::string& path);
  /// Points `function` to what is exported under `name`; throws std::runtime_error without.
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
