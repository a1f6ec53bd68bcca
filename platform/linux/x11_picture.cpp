#include "platform/linux/x11_picture.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kPixelBytes = 4;

}  // namespace

X11Picture::X11Picture(X11Display& connection, Window ofWindow, Visual* ofVisual, int ofDepth)
    : display(connection),
      window(ofWindow),
      visual(ofVisual),
      depth(ofDepth),
      context(XCreateGC(connection, ofWindow, 0, nullptr)),
      canShare(XShmQueryExtension(connection) != 0) {}

X11Picture::~X11Picture() {
  endSharing();
  if (display.isAlive()) {
    XFreeGC(display, context);
  } else {
    XFree(context);
  }
}

void X11Picture::show(const PixelRows& picture, const DeviceRect& part) {
  const int left = std::max(part.left, 0);
  const int top = std::max(part.top, 0);
  const int width = std::min(part.right, picture.width) - left;
  const int height = std::min(part.bottom, picture.height) - top;
  if (width <= 0 || height <= 0) return;
  const auto columns = static_cast<unsigned>(width);
  const auto rows = static_cast<unsigned>(height);

  if (share(picture.width, picture.height)) {
    XSync(display, False);  // until the server has read what was there before
    for (int y = top; y < top + height; ++y) {
      std::memcpy(shared->data + y * shared->bytes_per_line + left * kPixelBytes,
                  picture.first + y * picture.stride + left * kPixelBytes,
                  static_cast<std::size_t>(width) * kPixelBytes);
    }
    XShmPutImage(display, window, context, shared, left, top, left, top, columns, rows, False);
    return;
  }
  // Read only, though the library takes no such pointer.
  auto* const pixels = reinterpret_cast<char*>(const_cast<std::uint8_t*>(picture.first));
  XImage* const image = XCreateImage(display, visual, static_cast<unsigned>(depth), ZPixmap, 0,
                                     pixels, static_cast<unsigned>(picture.width),
                                     static_cast<unsigned>(picture.height), 32, picture.stride);
  if (image == nullptr) return;
  image->byte_order = LSBFirst;
  XPutImage(display, window, context, image, left, top, left, top, columns, rows);
  image->data = nullptr;
  XDestroyImage(image);
}

bool X11Picture::share(int width, int height) {
  if (!canShare) return false;
  if (shared != nullptr && shared->width == width && shared->height == height) return true;
  endSharing();
  const auto columns = static_cast<unsigned>(width);
  const auto rows = static_cast<unsigned>(height);
  shared = XShmCreateImage(display, visual, static_cast<unsigned>(depth), ZPixmap, nullptr,
                           &segment, columns, rows);
  // A server of the other byte order is not on this machine anyway.
  canShare = shared != nullptr && shared->bits_per_pixel == 32 && shared->byte_order == LSBFirst;
  if (canShare) {
    const std::size_t bytes = static_cast<std::size_t>(shared->bytes_per_line) * rows;
    segment.shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    void* const memory = segment.shmid < 0 ? nullptr : shmat(segment.shmid, nullptr, 0);
    canShare = memory != nullptr && memory != reinterpret_cast<void*>(-1);
    if (canShare) {
      segment.shmaddr = shared->data = static_cast<char*>(memory);
      segment.readOnly = True;
      const unsigned before = X11Display::errors();
      XShmAttach(display, &segment);
      XSync(display, False);
      canShare = X11Display::errors() == before;
    }
    // Goes once nobody has it any more, however the process ends.
    if (segment.shmid >= 0) shmctl(segment.shmid, IPC_RMID, nullptr);
  }
  if (!canShare) endSharing();
  return canShare;
}

void X11Picture::endSharing() {
  if (shared == nullptr) return;
  if (segment.shmaddr != nullptr) {
    if (display.isAlive()) {
      XShmDetach(display, &segment);
      XSync(display, False);
    }
    shmdt(segment.shmaddr);
  }
  shared->data = nullptr;
  XDestroyImage(shared);
  shared = nullptr;
  segment = {};
}
