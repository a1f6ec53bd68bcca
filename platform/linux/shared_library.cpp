#include "platform/shared_library.h"

#include <dlfcn.h>

#include <stdexcept>

SharedLibrary::SharedLibrary(const std::string& path)
    : handle(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle == nullptr) throw std::runtime_error(::dlerror());
}

bool SharedLibrary::isLoaded(const std::string& path) {
  const std::unique_ptr<void, Close> found(::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD));
  return found != nullptr;
}

void* SharedLibrary::symbol(const char* name) const {
  void* const found = ::dlsym(handle.get(), name);
  if (found == nullptr) throw std::runtime_error(::dlerror());
  return found;
}

void SharedLibrary::Close::operator()(void* loaded) const noexcept { ::dlclose(loaded); }
