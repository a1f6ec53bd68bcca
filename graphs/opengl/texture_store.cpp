#include "graphs/opengl/texture_store.h"

#include <GL/gl.h>

#include <algorithm>
#include <utility>

namespace {

constexpr int kPageWidth = 2048;
constexpr int kPageHeight = 512;
constexpr int kTallest = 64;   // of a picture on a page
constexpr int kWhiteRows = 2;  // at the top of a page
constexpr std::size_t kMostPages = 8;

unsigned makeTexture(int width, int height, const std::uint32_t* pixels) {
  unsigned name = 0;
  glGenTextures(1, &name);
  glBindTexture(GL_TEXTURE_2D, name);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_BGRA, GL_UNSIGNED_BYTE, pixels);
  return name;
}

void upload(unsigned texture, int x, int y, int width, int height, const std::uint32_t* pixels) {
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, width, height, GL_BGRA, GL_UNSIGNED_BYTE, pixels);
}

}  // namespace

TextureStore::TextureStore(std::function<void()> hearer) : beforeChange(std::move(hearer)) {}

TextureStore::~TextureStore() {
  for (const auto& [serial, entry] : entries) {
    if (!entry.isOnPage) forgotten.push_back(entry.texture);
  }
  for (const Page& page : pages) forgotten.push_back(page.texture);
  deleteForgotten();
}

TextureStore::Place TextureStore::find(const CBitmap& bitmap) {
  const auto known = entries.find(bitmap.serial());
  if (known == entries.end()) {
    const Entry made = place(bitmap);
    entries[bitmap.serial()] = made;
  } else if (known->second.revision != bitmap.revision()) {
    Entry& entry = known->second;
    // What changes would make a page wait for all that is drawn from it.
    if (entry.isOnPage) {
      entry = {makeTexture(bitmap.getWidth(), bitmap.getHeight(), bitmap.pixels())};
    } else {
      beforeChange();
      upload(entry.texture, 0, 0, bitmap.getWidth(), bitmap.getHeight(), bitmap.pixels());
    }
    entry.revision = bitmap.revision();
  }
  const Entry& entry = entries[bitmap.serial()];
  const float perColumn =
      1.0F / static_cast<float>(entry.isOnPage ? kPageWidth : bitmap.getWidth());
  const float perRow = 1.0F / static_cast<float>(entry.isOnPage ? kPageHeight : bitmap.getHeight());
  return {entry.texture,
          entry.isOnPage,
          static_cast<float>(entry.x) * perColumn,
          static_cast<float>(entry.y) * perRow,
          perColumn,
          perRow};
}

TextureStore::Entry TextureStore::place(const CBitmap& bitmap) {
  const int width = bitmap.getWidth();
  const int height = bitmap.getHeight();
  Entry entry{.revision = bitmap.revision()};
  if (width > kPageWidth || height > kTallest) {
    entry.texture = makeTexture(width, height, bitmap.pixels());
    return entry;
  }
  const auto placeOnAny = [&] {
    return std::any_of(pages.begin(), pages.end(),
                       [&](Page& page) { return placeOn(page, bitmap, entry); });
  };
  if (!placeOnAny()) {
    if (pages.size() < kMostPages) {
      addPage();
    } else {
      clearPages();
    }
    static_cast<void>(placeOnAny());
  }
  upload(entry.texture, entry.x, entry.y, width, height, bitmap.pixels());
  return entry;
}

bool TextureStore::placeOn(Page& page, const CBitmap& bitmap, Entry& entry) {
  const int width = bitmap.getWidth();
  // In steps, so that texts of one size share rows.
  const int height = (bitmap.getHeight() + 3) / 4 * 4;
  auto shelf = std::find_if(page.shelves.begin(), page.shelves.end(), [&](const Shelf& row) {
    return row.height == height && row.used + width <= kPageWidth;
  });
  if (shelf == page.shelves.end()) {
    if (page.bottom + height > kPageHeight) return false;
    shelf = page.shelves.insert(shelf, {page.bottom, height, 0});
    page.bottom += height;
  }
  entry.texture = page.texture;
  entry.isOnPage = true;
  entry.x = shelf->used;
  entry.y = shelf->top;
  shelf->used += width;
  return true;
}

void TextureStore::addPage() {
  const unsigned name = makeTexture(kPageWidth, kPageHeight, nullptr);
  const std::vector<std::uint32_t> white(std::size_t{kPageWidth} * kWhiteRows, 0xFFFFFFFFU);
  upload(name, 0, 0, kPageWidth, kWhiteRows, white.data());
  pages.push_back({name, {}, kWhiteRows});
}

// What is still in use is placed anew when it is drawn next.
void TextureStore::clearPages() {
  beforeChange();
  std::erase_if(entries, [](const auto& known) { return known.second.isOnPage; });
  for (Page& page : pages) {
    page.shelves.clear();
    page.bottom = kWhiteRows;
  }
}

unsigned TextureStore::whitePage() {
  if (pages.empty()) addPage();
  return pages.front().texture;
}

void TextureStore::forget(const CBitmap& bitmap) {
  const auto known = entries.find(bitmap.serial());
  if (known == entries.end()) return;
  if (!known->second.isOnPage) forgotten.push_back(known->second.texture);
  entries.erase(known);
}

void TextureStore::deleteForgotten() {
  glDeleteTextures(static_cast<GLsizei>(forgotten.size()), forgotten.data());
  forgotten.clear();
}
