#include "toolkit/look.h"

#include <algorithm>

#include "toolkit/utf8.h"

namespace look {

namespace {

constexpr std::string_view kDots = "\xE2\x80\xA6";

TextStyle styled(std::string_view face, float size, CColor colour, CHoriTxtAlign align) {
  return {Face::find(face), size, colour, align, true};
}

}  // namespace

TextStyle bold(float size, CColor colour, CHoriTxtAlign align) {
  return styled("DSP-Bold", size, colour, align);
}

TextStyle regular(float size, CColor colour, CHoriTxtAlign align) {
  return styled("OpenSans-Regular", size, colour, align);
}

float widthOf(const TextStyle& style, std::string_view utf8) {
  return style.face != nullptr ? style.face->width(utf8, style.size) : 0.0F;
}

std::string cutTo(float width, const TextStyle& style, std::string_view utf8, bool atStart) {
  if (style.face == nullptr) return std::string(utf8);
  // No character is narrower than this: a long text is not measured to its end.
  const auto most = static_cast<std::size_t>(std::max(0.0F, width)) + 1;
  if (utf8.size() <= 4 * most && widthOf(style, utf8) <= width) return std::string(utf8);
  const float room = width - widthOf(style, kDots);
  std::size_t edge = atStart ? utf8.size() : 0;
  for (float used = 0.0F;;) {
    const std::size_t next = atStart ? previousEdge(utf8, edge) : nextEdge(utf8, edge);
    if (next == edge) break;
    used += widthOf(style, utf8.substr(std::min(edge, next), atStart ? edge - next : next - edge));
    if (used > room) break;
    edge = next;
  }
  std::string cut(kDots);
  return atStart ? cut.append(utf8.substr(edge)) : cut.insert(0, utf8.substr(0, edge));
}

}  // namespace look
