#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "state/document_keys.h"
#include "state/json_document.h"

/// What a stored document is, by the members of its root.
enum class StateKind {
  kPreset,  ///< one program
  kFull,    ///< program and banks: what hosts store, and bank files
  kOld,     ///< one program without "presets" and without version mark, or with banks beside it
  kBand,    ///< the settings of one band
};

/// A state, preset, bank or band file, read whole.
struct StateDocument {
  std::string name;  ///< path, as it was given
  StateKind kind = StateKind::kPreset;
  bool isPacked = false;
  std::size_t fileBytes = 0;
  std::string text;  ///< unpacked, without byte order mark and final zero
  JsonTree root;     ///< an object

  [[nodiscard]] bool hasVersionMark() const {
    return jsonGetObjectItem(root.get(), documentKey::kVersionMark);
  }
};

/// Reads a file. Throws `Failure` when it cannot be read, is damaged or holds no document; with
/// line and column ("file:3:14: ...") where its text is no JSON.
[[nodiscard]] StateDocument readStateDocument(const std::string& path);

/// The formatted print of the document, without line end. Throws `Failure` for a document with a
/// number that is too large to be printed.
[[nodiscard]] std::string printedText(const StateDocument& document);

/// The bytes of a file that holds `text`, with its final zero, packed or plain.
[[nodiscard]] std::string stateBytes(const std::string& text, bool isPacked);

/// One set of parameters within a document.
struct StoredSet {
  std::string place;       ///< "program 1", "bank C"; "band" of a band file
  const JsonNode* object;  ///< that holds its "parameters"; null for a bank that is missing
};

/// Program 1 first; then, if there are any, the eight banks.
[[nodiscard]] std::vector<StoredSet> storedSets(const StateDocument& document);

/// What the effect passes over or corrects in a set.
struct StoredFault {
  enum class Kind { kUnknown, kNoPlace, kNoNumber, kBoundless, kOutOfRange, kNoParameters };

  Kind kind = Kind::kNoParameters;
  std::string_view key;  ///< as the document holds it
  float value = 0.0F;    ///< what is stored, of one out of range
  float min = 0.0F;
  float max = 0.0F;

  /// What is out of range is so by its key.
  [[nodiscard]] bool operator<(const StoredFault& other) const {
    return std::tie(kind, key, value) < std::tie(other.kind, other.key, other.value);
  }
};

/// What one set stores, as the effect reads it. The document must outlive it.
struct StoredValues {
  /// By parameter, 0..1; of a band file plain, and empty for what it does not store.
  std::vector<std::optional<float>> values;
  std::vector<StoredFault> faults;
};

/// All parameters of a program or bank: what is not stored is at its default.
[[nodiscard]] StoredValues storedValues(const StoredSet& set);
/// The rows of a band file, by the numbers of band 1.
[[nodiscard]] StoredValues storedBandValues(const StateDocument& document);

/// The faults of all sets, a sentence each, told once with the places it is found in; of a document
/// with very many the first ten, and how many more there are.
[[nodiscard]] std::vector<std::string> documentFaults(const StateDocument& document);
