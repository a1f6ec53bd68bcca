#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Turtle, the text that describes plug-ins to LV2 hosts: its words, and statements made of them.
/// Pure functions and a value, for one thread at a time.
namespace lv2 {

/// Declares all prefixes that our files use; stands at the head of each.
[[nodiscard]] std::string_view turtlePrefixes() noexcept;

/// `<uri>` of a URI, or of a path from the bundle on, that needs no escapes.
[[nodiscard]] std::string turtleUri(std::string_view uri);

/// A string in quotes. Bytes that are not ASCII pass as they are: `text` is UTF-8.
[[nodiscard]] std::string turtleString(std::string_view text);

/// The shortest decimal that reads back as `value`, which is finite: always with a point and never
/// with an exponent, because some hosts take port values of this type alone.
[[nodiscard]] std::string turtleDecimal(float value);

/// `name` as one step of a URI's path: small letters, digits and single hyphens; empty if it holds
/// no ASCII letter or digit.
[[nodiscard]] std::string uriStep(std::string_view name);

/// What is said of one subject, in the order it was added.
class Statements {
 public:
  /// `object` is a word of Turtle or a `blankNode`. A predicate that is there already takes it as
  /// one more object.
  Statements& add(std::string_view predicate, std::string object);

  /// All of it, `subject` being a word of Turtle, with the stop and an empty line behind.
  [[nodiscard]] std::string about(std::string_view subject) const;
  /// All of it about something without a name: an object of other statements, on one line.
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
