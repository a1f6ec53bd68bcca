#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "toolkit/bitmap.h"

/// Pictures as OpenGL textures, under their serial. Small ones that do not change lie together on
/// pages, so that many are drawn without another texture being bound; each page has a white corner
/// for what has no picture. Threads: the one with the OpenGL context current, for all but `forget`;
/// one at a time.
class TextureStore {
 public:
  /// `beforeChange`: called before something that may have been gathered for drawing changes.
  explicit TextureStore(std::function<void()> beforeChange);
  /// Deletes the textures: the OpenGL context is current.
  ~TextureStore();
  TextureStore(const TextureStore&) = delete;
  TextureStore& operator=(const TextureStore&) = delete;

  struct Place {
    unsigned texture = 0;
    bool isOnPage = false;
    /// Of the picture's upper left corner, and from one of its pixels to the next.
    float u = 0.0F, v = 0.0F;
    float perColumn = 0.0F, perRow = 0.0F;
  };
  /// A picture as it is now; taken anew when its revision differs.
  [[nodiscard]] Place find(const CBitmap& bitmap);
  /// A page, for what has no picture: white at 0, 0.
  [[nodiscard]] unsigned whitePage();

  /// Its texture is deleted by the next `deleteForgotten`.
  void forget(const CBitmap& bitmap);
  void deleteForgotten();

 private:
  /// A row of pictures on a page.
  struct Shelf {
    int top, height, used;
  };
  struct Page {
    unsigned texture = 0;
    std::vector<Shelf> shelves;
    int bottom = 0;
  };
  struct Entry {
    unsigned texture = 0;
    bool isOnPage = false;
    int x = 0, y = 0;
    std::uint32_t revision = 0;
  };

  [[nodiscard]] Entry place(const CBitmap& bitmap);
  [[nodiscard]] static bool placeOn(Page& page, const CBitmap& bitmap, Entry& entry);
  void addPage();
  void clearPages();

  std::function<void()> beforeChange;
  std::map<std::uint64_t, Entry> entries;
  std::vector<Page> pages;
  std::vector<unsigned> forgotten;
};
