#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Turtle, the text format that describes plug-ins to LV2 hosts: terms, and statements made of
/// them. The functions are pure; a `Statements` object is for one thread at a time.
namespace lv2 {

/// Declarations of all prefixes that our files use; each file starts with them.
[[nodiscard]] std::string_view turtlePrefixes() noexcept;

/// `<uri>` for a URI, or for a path relative to the bundle, that needs no escapes.
[[nodiscard]] std::string turtleUri(std::string_view uri);

/// A string in quotes. `text` is UTF-8; non-ASCII bytes are not escaped.
[[nodiscard]] std::string turtleString(std::string_view text);

/// The shortest decimal that reads back as `value`, which must be finite. It always has a point and
/// never an exponent, because some hosts accept only this type for port values.
[[nodiscard]] std::string turtleDecimal(float value);

/// `name` as a segment of a URI's path: lower-case letters, digits and single hyphens; empty if it
/// contains no ASCII letter or digit.
[[nodiscard]] std::string uriStep(std::string_view name);

/// The statements about one subject, in the order in which they were added.
class Statements {
 public:
  /// `object` is a Turtle term or a `blankNode`. If the predicate exists already, it gets one more
  /// object.
  Statements& add(std::string_view predicate, std::string object);

  /// The statements about `subject`, a Turtle term, followed by a full stop and an empty line.
  [[nodiscard]] std::string about(std::string_view subject) const;
  /// The statements as a blank node on one line, to be used as an object of other statements.
  [[nodiscard]] std::string blankNode() const;

 private:
  struct Line {
    std::string predicate;
    std::vector<std::string> objects;
  };

  [[nodiscard]] std::string joined(std::string_view betweenLines,
                                   std::string_view betweenObjects) const;

  std::vector<Line> lines;
};

}  // namespace lv2
