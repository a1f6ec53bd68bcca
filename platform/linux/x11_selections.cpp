#include "platform/linux/x11_selections.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace {

constexpr std::size_t kPiece = 64 * 1024;
constexpr std::size_t kLongest = 64 * 1024 * 1024;  // what somebody wants to paste
constexpr std::size_t kMostPairs = 64;              // asked for at once
constexpr auto kPatience = std::chrono::seconds(1);

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

/// What Latin-1 does not have becomes a question mark.
std::string toLatin1(const std::string& text) {
  std::string latin;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) {
      latin += text[i];
    } else if (!isContinuation(text[i])) {
      const bool isIn = (byte == 0xC2 || byte == 0xC3) && i + 1 < text.size();
      const int low = isIn ? static_cast<unsigned char>(text[i + 1]) & 0x3F : 0;
      latin += isIn ? static_cast<char>((byte & 3) << 6 | low) : '?';
    }
  }
  return latin;
}

std::string fromLatin1(const std::string& latin) {
  std::string text;
  for (const char letter : latin) {
    const auto byte = static_cast<unsigned char>(letter);
    if (byte < 0x80) {
      text += letter;
    } else {
      text += static_cast<char>(0xC0 | byte >> 6);
      text += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return text;
}

}  // namespace

std::string takeProperty(Display* display, Window window, Atom property, Atom& type) {
  type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long left = 0;
  unsigned char* data = nullptr;
  std::string bytes;
  if (XGetWindowProperty(display, window, property, 0, kLongest / 4, True, AnyPropertyType, &type,
                         &format, &count, &left, &data) == Success &&
      data != nullptr) {
    // Words of 32 bits come as the machine's `long`.
    const std::size_t width = format == 32 ? sizeof(long) : static_cast<std::size_t>(format) / 8;
    bytes.assign(reinterpret_cast<const char*>(data), count * width);
  }
  if (data != nullptr) XFree(data);
  return bytes;
}

void X11Selections::own(Atom selection, std::string text, Time time) {
  if (owner == None) {
    owner = XCreateSimpleWindow(display, DefaultRootWindow(static_cast<Display*>(display)), 0, 0, 1,
                                1, 0, 0, 0);
  }
  XSetSelectionOwner(display, selection, owner, time);
  // Refused where somebody else took it since the last event of ours, as with keys from a host.
  if (XGetSelectionOwner(display, selection) != owner) {
    XSetSelectionOwner(display, selection, owner, CurrentTime);
  }
  texts[selection] = {std::move(text), time};
}

void X11Selections::ask(Window window, Atom selection, std::vector<Atom> forms, Time time,
                        Receive receive) {
  if (questionOf(window, selection) != nullptr) return;
  std::reverse(forms.begin(), forms.end());
  questions.push_back({window, selection, std::move(forms), time, std::move(receive), {}, {}});
  // From ourselves: answered by the next tick, as it must not be from within this.
  if (!texts.contains(selection)) tryNextForm(questions.back());
}

void X11Selections::forget(Window window) {
  std::erase_if(questions, [&](const Question& question) { return question.window == window; });
}

bool X11Selections::handle(const XEvent& event) {
  switch (event.type) {
    case SelectionRequest:
      return answer(event.xselectionrequest);
    case SelectionClear: {
      const auto lost = texts.find(event.xselectionclear.selection);
      if (lost == texts.end()) return true;
      // The server's clock goes round after 32 bits. A loss before it was taken again is none.
      const Time since = event.xselectionclear.time - lost->second.time;
      const bool isKnown = lost->second.time != CurrentTime;
      if (!isKnown || static_cast<std::int32_t>(since) >= 0) texts.erase(lost);
      return true;
    }
    case SelectionNotify: {
      Question* const question = questionOf(event.xselection.requestor, event.xselection.selection);
      if (question == nullptr || question->isInPieces) return true;
      if (event.xselection.property == None) {
        tryNextForm(*question);
      } else {
        receivePiece(*question);
      }
      return true;
    }
    case PropertyNotify: {
      const XPropertyEvent& change = event.xproperty;
      if (change.state == PropertyDelete) return sendPiece(change.window, change.atom);
      Question* const question = questionOf(change.window, change.atom);
      if (question == nullptr || !question->isInPieces) return false;
      receivePiece(*question);
      return true;
    }
    default:
      return false;
  }
}

void X11Selections::tick() {
  const auto now = Clock::now();
  for (bool isAgain = true; isAgain;) {
    isAgain = false;
    for (const Question& question : questions) {
      const auto own = texts.find(question.selection);
      const bool isOwn = own != texts.end() && !question.isInPieces;
      if (!isOwn && now < question.deadline) continue;
      const std::string text = isOwn ? own->second.text : "";
      finish(question, text);  // changes the list
      isAgain = true;
      break;
    }
  }
  std::erase_if(deliveries, [&](const Delivery& delivery) { return delivery.deadline < now; });
}

X11Selections::Question* X11Selections::questionOf(Window window, Atom selection) {
  const auto found =
      std::find_if(questions.begin(), questions.end(), [&](const Question& question) {
        return question.window == window && question.selection == selection;
      });
  return found == questions.end() ? nullptr : &*found;
}

void X11Selections::tryNextForm(Question& question) {
  if (question.forms.empty()) {
    finish(question, "");
    return;
  }
  question.deadline = Clock::now() + kPatience;
  // The property bears the name of the selection: one answer at a time for each.
  XConvertSelection(display, question.selection, question.forms.back(), question.selection,
                    question.window, question.time);
  question.forms.pop_back();
}

void X11Selections::receivePiece(Question& question) {
  Atom type = None;
  std::string piece = takeProperty(display, question.window, question.selection, type);
  question.deadline = Clock::now() + kPatience;
  if (type == display.atom("INCR")) {
    question.isInPieces = true;  // the owner begins once the property is gone
    return;
  }
  if (type == XA_STRING) piece = fromLatin1(piece);
  question.bytes += piece;
  const bool isTooLong = question.bytes.size() > kLongest;
  if (question.isInPieces && !piece.empty() && !isTooLong) return;
  const std::string bytes = isTooLong ? "" : std::move(question.bytes);
  finish(question, bytes);
}

void X11Selections::finish(const Question& question, const std::string& bytes) {
  const auto number = &question - questions.data();
  const Receive receive = question.receive;
  questions.erase(questions.begin() + number);
  receive(bytes);
}

bool X11Selections::answer(const XSelectionRequestEvent& request) {
  XEvent event{};
  XSelectionEvent& reply = event.xselection;
  reply.type = SelectionNotify;
  reply.requestor = request.requestor;
  reply.selection = request.selection;
  reply.target = request.target;
  reply.time = request.time;
  const auto owned = texts.find(request.selection);
  if (owned != texts.end()) {
    const bool areSeveral = request.target == display.atom("MULTIPLE");
    reply.property =
        areSeveral ? writeAnswers(request, owned->second) : writeAnswer(request, owned->second);
  }
  XSendEvent(display, request.requestor, False, NoEventMask, &event);
  return true;
}

/// Of pairs of a target and a property; the property of what is not to be had becomes none.
Atom X11Selections::writeAnswers(const XSelectionRequestEvent& request, const Owned& owned) {
  if (request.property == None) return None;
  Atom type = None;
  const std::string bytes = takeProperty(display, request.requestor, request.property, type);
  std::vector<Atom> pairs(2 * std::min(bytes.size() / (2 * sizeof(Atom)), kMostPairs));
  std::memcpy(pairs.data(), bytes.data(), pairs.size() * sizeof(Atom));
  for (std::size_t i = 0; i < pairs.size(); i += 2) {
    XSelectionRequestEvent single = request;
    single.target = pairs[i];
    single.property = pairs[i + 1];
    if (single.property != None) pairs[i + 1] = writeAnswer(single, owned);
  }
  XChangeProperty(display, request.requestor, request.property, type, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(pairs.data()),
                  static_cast<int>(pairs.size()));
  return request.property;
}

Atom X11Selections::writeAnswer(const XSelectionRequestEvent& request, const Owned& owned) {
  const Atom utf8 = display.atom("UTF8_STRING");
  const Atom plain = display.atom("text/plain;charset=utf-8");
  const Atom targets = display.atom("TARGETS");
  const Atom timestamp = display.atom("TIMESTAMP");
  const Atom anyText = display.atom("TEXT");  // in the form that the owner likes best
  // Old programs name no property.
  const Atom property = request.property == None ? request.target : request.property;
  const auto writeWords = [&](Atom type, const std::vector<unsigned long>& words) {
    XChangeProperty(display, request.requestor, property, type, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(words.data()),
                    static_cast<int>(words.size()));
  };
  if (request.target == targets) {
    writeWords(XA_ATOM,
               {targets, timestamp, display.atom("MULTIPLE"), utf8, plain, anyText, XA_STRING});
  } else if (request.target == timestamp) {
    writeWords(XA_INTEGER, {owned.time});
  } else if (request.target == utf8 || request.target == plain) {
    deliver(request.requestor, property, request.target, owned.text);
  } else if (request.target == anyText) {
    deliver(request.requestor, property, utf8, owned.text);
  } else if (request.target == XA_STRING) {
    deliver(request.requestor, property, XA_STRING, toLatin1(owned.text));
  } else {
    return None;
  }
  return property;
}

void X11Selections::deliver(Window window, Atom property, Atom type, std::string bytes) {
  if (bytes.size() <= kPiece) {
    XChangeProperty(display, window, property, type, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(bytes.data()),
                    static_cast<int>(bytes.size()));
    return;
  }
  const unsigned long size = bytes.size();
  XSelectInput(display, window, PropertyChangeMask);
  XChangeProperty(display, window, property, display.atom("INCR"), 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&size), 1);
  deliveries.push_back({window, property, type, std::move(bytes), 0, Clock::now() + 5 * kPatience});
}

bool X11Selections::sendPiece(Window window, Atom property) {
  const auto found =
      std::find_if(deliveries.begin(), deliveries.end(), [&](const Delivery& delivery) {
        return delivery.window == window && delivery.property == property;
      });
  if (found == deliveries.end()) return false;
  const std::size_t count = std::min(kPiece, found->bytes.size() - found->sent);
  XChangeProperty(display, window, property, found->type, 8, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(found->bytes.data() + found->sent),
                  static_cast<int>(count));
  found->sent += count;
  found->deadline = Clock::now() + 5 * kPatience;
  // An empty piece is the end.
  if (count == 0) {
    XSelectInput(display, window, NoEventMask);
    deliveries.erase(found);
  }
  return true;
}
