#pragma once

#include <atomic>
#include <utility>

enum CMessageResult : int { kMessageUnknown = 0, kMessageNotified = 1 };

/// What a frame is asked whether it holds views.
inline constexpr const char* kMsgCheckIfViewContainer = "kMsgCheckIfViewContainer";
/// Ends a running text entry.
inline constexpr const char* kMsgLooseFocus = "LooseFocus";

/// An object with a count of its holders, 1 when made; the last `forget` deletes it. Threads:
/// `remember` and `forget` on any.
class CBaseObject {
 public:
  CBaseObject() = default;
  CBaseObject(const CBaseObject&) = delete;
  CBaseObject& operator=(const CBaseObject&) = delete;

  void remember() noexcept { holders.fetch_add(1, std::memory_order_relaxed); }
  void forget() noexcept {
    if (holders.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  virtual CMessageResult notify(CBaseObject* /*sender*/, const char* /*message*/) {
    return kMessageUnknown;
  }

 protected:
  virtual ~CBaseObject() = default;

 private:
  std::atomic<int> holders{1};
};

/// One holder of an object, or of none.
template <typename Object>
class Held {
 public:
  Held() = default;
  /// Takes over the count that the maker of `made` has.
  static Held adopt(Object* made) noexcept {
    Held held;
    held.object = made;
    return held;
  }
  explicit Held(Object* shared) noexcept : object(shared) {
    if (object != nullptr) object->remember();
  }
  Held(const Held& other) noexcept : Held(other.object) {}
  Held(Held&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
  Held& operator=(Held other) noexcept {
    std::swap(object, other.object);
    return *this;
  }
  ~Held() {
    if (object != nullptr) object->forget();
  }

  [[nodiscard]] Object* get() const noexcept { return object; }
  Object* operator->() const noexcept { return object; }
  Object& operator*() const noexcept { return *object; }
  explicit operator bool() const noexcept { return object != nullptr; }

 private:
  Object* object = nullptr;
};
