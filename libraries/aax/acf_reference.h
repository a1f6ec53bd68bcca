#pragma once

#include <mutex>
#include <utility>

#include "libraries/aax/acf.h"

/// Holds one reference to an object of the component framework, or none.
template <typename Interface>
class AcfReference {
 public:
  AcfReference() = default;
  AcfReference(const AcfReference& other) : object(other.object) {
    if (object != nullptr) object->AddRef();
  }
  AcfReference(AcfReference&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
  AcfReference& operator=(AcfReference other) noexcept {
    std::swap(object, other.object);
    return *this;
  }
  ~AcfReference() {
    if (object != nullptr) object->Release();
  }

  /// Takes over a reference that the caller holds.
  [[nodiscard]] static AcfReference adopt(Interface* held) noexcept {
    AcfReference reference;
    reference.object = held;
    return reference;
  }
  /// Gives the reference to the caller.
  [[nodiscard]] Interface* detach() noexcept { return std::exchange(object, nullptr); }

  Interface* operator->() const noexcept { return object; }
  explicit operator bool() const noexcept { return object != nullptr; }

 private:
  Interface* object = nullptr;
};

/// The interface of `source` with this number; empty if `source` is null or lacks it.
template <typename Interface>
[[nodiscard]] AcfReference<Interface> acfQuery(IACFUnknown* source, const acfIID& iid) {
  void* found = nullptr;
  if (source == nullptr || source->QueryInterface(iid, &found) != ACF_OK) return {};
  return AcfReference<Interface>::adopt(static_cast<Interface*>(found));
}

/// A reference that one thread may release while others use the object. Users take a reference of
/// their own, so that no lock is held while a host is called. Any thread but the audio thread.
template <typename Interface>
class SharedAcfReference {
 public:
  void set(AcfReference<Interface> next) {
    const std::lock_guard guard(mutex);
    std::swap(reference, next);  // the old one is released with `next`, after the lock
  }
  void reset() { set({}); }
  [[nodiscard]] AcfReference<Interface> get() const {
    const std::lock_guard guard(mutex);
    return reference;
  }

 private:
  mutable std::mutex mutex;
  AcfReference<Interface> reference;
};
