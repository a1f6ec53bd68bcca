#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "toolkit/bitmap.h"
#include "toolkit/face.h"

/// Texts that stay on the screen, each rasterised once, at its final size and with every glyph at
/// its exact place. Keeps those used last. Threads: any.
class StaticTextLabelCache {
 public:
  /// White times coverage, so that one picture does for all colours.
  struct Label {
    Held<CBitmap> picture;
    /// From the text's start on the baseline to the upper left corner of the picture.
    int left = 0;
    int top = 0;
    float width = 0.0F;
  };

  static constexpr std::size_t kMostLabels = 1024;

  /// `leaving` hears of each picture that is given up.
  explicit StaticTextLabelCache(std::function<void(const CBitmap&)> leaving);

  /// `isVerbatim`: each character as itself; otherwise as `shownBy` has it.
  [[nodiscard]] Label find(std::string_view utf8, const std::shared_ptr<const Face>& face,
                           float size, bool isVerbatim = false);
  void clear();
  [[nodiscard]] std::size_t size() const;

 private:
  // The text lies in the entry itself, or is what is looked for.
  struct Key {
    std::string_view text;
    const Face* face;
    float size;
    bool isVerbatim;
    bool operator==(const Key&) const = default;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const noexcept;
  };
  struct Entry {
    std::string text;
    std::shared_ptr<const Face> face;
    float size;
    bool isVerbatim;
    Label label;

    [[nodiscard]] Key key() const noexcept { return {text, face.get(), size, isVerbatim}; }
  };
  void dropOldest();

  std::function<void(const CBitmap&)> leaving;
  mutable std::mutex guard;
  std::list<Entry> entries;  // the one used last first
  std::unordered_map<Key, std::list<Entry>::iterator, KeyHash> places;
};
