#include <memory>
#include <mutex>
#include <string>

#include "platform/linux/x11_connection.h"
#include "platform/linux/x11_window.h"
#include "platform/native_window.h"

namespace {

class X11WindowSystem final : public WindowSystem,
                              public X11Connection,
                              public std::enable_shared_from_this<X11WindowSystem> {
 public:
  [[nodiscard]] std::unique_ptr<NativeWindow> openChild(std::uintptr_t parent, int width,
                                                        int height,
                                                        WindowListener& listener) override {
    if (parent == None) return nullptr;
    return X11Window::open(shared_from_this(), parent, {}, width, height, listener);
  }
  [[nodiscard]] std::unique_ptr<NativeWindow> openTop(const std::string& title, int width,
                                                      int height,
                                                      WindowListener& listener) override {
    return X11Window::open(shared_from_this(), None, title, width, height, listener);
  }
  void pump() override {
    const auto alive = shared_from_this();  // a listener may close the last window
    dispatch();
  }
  [[nodiscard]] int fileDescriptor() const override {
    return ConnectionNumber(static_cast<Display*>(display));
  }
};

}  // namespace

std::shared_ptr<WindowSystem> WindowSystem::connect() {
  static std::mutex mutex;
  static std::weak_ptr<X11WindowSystem> ofProcess;
  const std::lock_guard guard(mutex);
  std::shared_ptr<X11WindowSystem> current = ofProcess.lock();
  // One whose server has gone lasts as long as its windows do.
  if (current != nullptr && current->display.isAlive()) return current;
  current = std::make_shared<X11WindowSystem>();
  if (!current->display.isAlive()) return nullptr;
  ofProcess = current;
  return current;
}
