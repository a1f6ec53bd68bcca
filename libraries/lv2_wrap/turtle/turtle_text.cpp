#include "libraries/lv2_wrap/turtle/turtle_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace lv2 {

std::string_view turtlePrefixes() noexcept {
  return "@prefix atom: <http://lv2plug.in/ns/ext/atom#> .\n"
         "@prefix bufs: <http://lv2plug.in/ns/ext/buf-size#> .\n"
         "@prefix doap: <http://usefulinc.com/ns/doap#> .\n"
         "@prefix foaf: <http://xmlns.com/foaf/0.1/> .\n"
         "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
         "@prefix midi: <http://lv2plug.in/ns/ext/midi#> .\n"
         "@prefix pg: <http://lv2plug.in/ns/ext/port-groups#> .\n"
         "@prefix pprops: <http://lv2plug.in/ns/ext/port-props#> .\n"
         "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
         "@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .\n"
         "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n"
         "@prefix rsz: <http://lv2plug.in/ns/ext/resize-port#> .\n"
         "@prefix state: <http://lv2plug.in/ns/ext/state#> .\n"
         "@prefix units: <http://lv2plug.in/ns/extensions/units#> .\n"
         "@prefix urid: <http://lv2plug.in/ns/ext/urid#> .\n"
         "@prefix work: <http://lv2plug.in/ns/ext/worker#> .\n\n";
}

std::string turtleUri(std::string_view uri) { return '<' + std::string(uri) + '>'; }

std::string turtleString(std::string_view text) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string quoted = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      quoted += {'\\', c};
    } else if (byte < 0x20 || byte == 0x7F) {
      quoted += "\\u00";
      quoted += {kHex[byte / 16U], kHex[byte % 16U]};
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

std::string turtleDecimal(float value) {
  std::array<char, 64> text;
  // Adding zero turns a negative zero into a positive one.
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value + 0.0F, std::chars_format::fixed);
  std::string decimal(text.data(), end.ptr);
  return decimal.find('.') == std::string::npos ? decimal + ".0" : decimal;
}

std::string uriStep(std::string_view name) {
  std::string step;
  bool gap = false;
  for (const char c : name) {
    const char small = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    const bool kept = (small >= 'a' && small <= 'z') || (small >= '0' && small <= '9');
    if (kept && gap && !step.empty()) step += '-';
    if (kept) step += small;
    gap = !kept;
  }
  return step;
}

Statements& Statements::add(std::string_view predicate, std::string object) {
  auto line = std::find_if(lines.begin(), lines.end(), [predicate](const Line& candidate) {
    return candidate.predicate == predicate;
  });
  if (line == lines.end()) line = lines.insert(line, {std::string(predicate), {}});
  line->objects.push_back(std::move(object));
  return *this;
}

std::string Statements::joined(std::string_view betweenLines,
                               std::string_view betweenObjects) const {
  std::string text;
  for (const Line& line : lines) {
    if (!text.empty()) text += betweenLines;
    text += line.predicate + ' ';
    for (const std::string& object : line.objects) {
      if (&object != &line.objects.front()) text += betweenObjects;
      text += object;
    }
  }
  return text;
}

std::string Statements::about(std::string_view subject) const {
  return std::string(subject) + "\n  " + joined(" ;\n  ", " ,\n    ") + " .\n\n";
}

std::string Statements::blankNode() const { return "[ " + joined(" ; ", " , ") + " ]"; }

}  // namespace lv2
