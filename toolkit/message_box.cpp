#include "toolkit/message_box.h"

#include <algorithm>
#include <utility>

#include "toolkit/frame.h"
#include "toolkit/look.h"
#include "toolkit/utf8.h"

namespace {

constexpr float kMessageWidth = 380.0F;
constexpr float kCaptionTop = 14.0F;
constexpr float kTextTop = 44.0F;
constexpr float kLineHeight = 18.0F;
constexpr float kUnderText = 16.0F;
constexpr float kButtonsHeight = look::kButtonHeight + 16.0F;
constexpr std::size_t kMostBytes = 20'000;

TextStyle messageStyle() { return look::regular(look::kTextSize, look::kQuietText); }

/// Adds a line without its own end.
void addWrapped(std::vector<std::string>& lines, std::string_view text, float width,
                const TextStyle& style) {
  std::string line;
  float used = 0.0F;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t next = nextWordEdge(text, at);
    const std::string_view word = text.substr(at, next - at);
    const std::string_view bare = word.substr(0, word.find_last_not_of(' ') + 1);
    if (used > 0.0F && used + look::widthOf(style, bare) > width) {
      lines.push_back(std::exchange(line, {}));
      used = 0.0F;
    }
    for (std::size_t place = at; place < next;) {
      const std::size_t edge = nextEdge(text, place);
      const std::string_view character = text.substr(place, edge - place);
      const float wide = look::widthOf(style, character);
      if (used > 0.0F && used + wide > width && character != " ") {
        lines.push_back(std::exchange(line, {}));
        used = 0.0F;
      }
      line += character;
      used += wide;
      place = edge;
    }
    at = next;
  }
  lines.push_back(std::move(line));
}

}  // namespace

std::vector<std::string> wrapped(const std::string& text, float width, const TextStyle& style) {
  std::vector<std::string> lines;
  const std::string_view all = std::string_view(text).substr(0, kMostBytes);
  for (std::size_t at = 0; at <= all.size();) {
    const std::size_t end = std::min(all.find('\n', at), all.size());
    addWrapped(lines, all.substr(at, end - at), width, style);
    at = end + 1;
  }
  while (lines.size() > 1 && lines.back().empty()) lines.pop_back();
  return lines;
}

MessageBox::Contents replaceQuestion(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  return {"Replace File",
          "“" + name + "” is there already. Do you wish to replace it?",
          {"Replace", "Cancel"},
          1};
}

MessageBox::MessageBox(const CRect& window, Contents shown, std::vector<std::string> textLines,
                       Answer taker)
    : ModalBox(window, kMessageWidth,
               kTextTop + static_cast<float>(textLines.size()) * kLineHeight + kUnderText +
                   kButtonsHeight),
      contents(std::move(shown)),
      lines(std::move(textLines)),
      answer(std::move(taker)) {
  addButtons(contents.buttons, [this](int button) { finish(button); });
  choose(contents.chosen);
}

MessageBox::~MessageBox() = default;

void MessageBox::open(CFrame& frame, Contents contents, Answer answer) {
  if (!frame.isOpen()) {
    if (answer) answer(kNone);
    return;
  }
  const CRect window = frame.getSize();
  const float width = std::min(kMessageWidth, window.width()) - 2.0F * kMargin;
  std::vector<std::string> lines = wrapped(contents.message, width, messageStyle());
  // The buttons stay in the window, however long the text is.
  const float room = window.height() - kTextTop - kUnderText - kButtonsHeight;
  const auto most = static_cast<std::size_t>(std::max(1.0F, room / kLineHeight));
  if (lines.size() > most) {
    lines.resize(most);
    lines.back() += "\xE2\x80\xA6";
  }
  const auto box = Held<MessageBox>::adopt(
      new MessageBox(window, std::move(contents), std::move(lines), std::move(answer)));
  frame.pushModalView(box.get());
}

void MessageBox::drawBackgroundRect(CDrawContext& context, const CRect& part) {
  ModalBox::drawBackgroundRect(context, part);
  const CRect text = box().inset(kMargin, 0.0F);
  const TextStyle caption = look::bold(look::kTextSize, look::kText);
  context.drawTextCached(
      look::cutTo(text.width(), caption, contents.caption),
      {text.left, text.top + kCaptionTop, text.right, text.top + kCaptionTop + 20.0F}, caption);
  float top = text.top + kTextTop;
  for (const std::string& line : lines) {
    if (!line.empty()) {
      context.drawTextCached(line, {text.left, top, text.right, top + kLineHeight}, messageStyle());
    }
    top += kLineHeight;
  }
}

void MessageBox::finish(int button) {
  const Held<MessageBox> stays(this);
  const Answer told = std::exchange(answer, nullptr);
  close();
  if (told) told(button);
}

void MessageBox::removed() {
  const Held<MessageBox> stays(this);
  ModalBox::removed();
  if (const Answer told = std::exchange(answer, nullptr)) told(kNone);
}

bool MessageBox::onKeyDown(const KeyEvent& key) {
  if (key.key == Key::kEscape) {
    finish(buttonCount() - 1);
    return true;
  }
  return ModalBox::onKeyDown(key);
}
