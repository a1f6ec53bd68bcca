#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "state/document_keys.h"
#include "state/json_document.h"

/// Kind of a stored document, by the members of its root.
enum class StateKind {
  kPreset,  ///< one program
  kFull,    ///< program and banks: what hosts store, and bank files
  kOld,     ///< one program without "presets", and either without version mark or with banks
  kBand,    ///< the settings of one band
};

/// A state, preset, bank or band file.
struct StateDocument {
  std::string name;  ///< path, as the user gave it
  StateKind kind = StateKind::kPreset;
  bool isPacked = false;
  std::size_t fileBytes = 0;
  std::string text;                     ///< unpacked, without byte order mark and final zero
  JsonTree root;                        ///< an object
  std::vector<std::string> textFaults;  ///< values that were given as texts and are out of range

  [[nodiscard]] bool hasVersionMark() const {
    return jsonGetObjectItem(root.get(), documentKey::kVersionMark);
  }
};

/// Reads a file, whose values may be texts. Throws `Failure` if it cannot be read, is damaged or
/// contains no document; with line and column ("file:3:14: ...") if its text is no JSON.
[[nodiscard]] StateDocument readStateDocument(const std::string& path);

/// The document as formatted text, without a line end. Throws `Failure` if it contains a number
/// that is too large to be printed.
[[nodiscard]] std::string printedText(const StateDocument& document);

/// The bytes of a file with `text` and a final zero byte, packed or plain.
[[nodiscard]] std::string stateBytes(const std::string& text, bool isPacked);

/// One set of parameters within a document.
struct StoredSet {
  std::string place;       ///< "program 1", "bank C"; "band" of a band file
  const JsonNode* object;  ///< the object with its "parameters"; null for a missing bank
};

/// Program 1 first; then, if there are any, the eight banks.
[[nodiscard]] std::vector<StoredSet> storedSets(const StateDocument& document);

/// Something in a set that the effect skips or corrects.
struct StoredFault {
  enum class Kind { kUnknown, kNoPlace, kNoNumber, kBoundless, kOutOfRange, kNoParameters };

  Kind kind = Kind::kNoParameters;
  std::string_view key;  ///< as in the document
  float value = 0.0F;    ///< stored value, if out of range
  float min = 0.0F;
  float max = 0.0F;

  /// Ignores `min` and `max`, which follow from the key.
  [[nodiscard]] bool operator<(const StoredFault& other) const {
    return std::tie(kind, key, value) < std::tie(other.kind, other.key, other.value);
  }
};

/// The values of a set, as the effect reads them. The document must outlive it.
struct StoredValues {
  /// By parameter, 0..1. For a band file plain, and none for rows that it does not store.
  std::vector<std::optional<float>> values;
  std::vector<StoredFault> faults;
};

/// All parameters of a program or bank; those not stored have their defaults.
[[nodiscard]] StoredValues storedValues(const StoredSet& set);
/// The rows of a band file, by the ids of band 1.
[[nodiscard]] StoredValues storedBandValues(const StateDocument& document);

/// The faults of all sets, one sentence each with all places where it occurs. If there are many,
/// the first ten and the number of the others.
[[nodiscard]] std::vector<std::string> documentFaults(const StateDocument& document);
