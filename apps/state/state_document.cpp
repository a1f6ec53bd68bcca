#include "apps/state/state_document.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <new>
#include <string_view>
#include <utility>

#include "apps/effect/settings.h"
#include "apps/output/failure.h"
#include "apps/output/messages.h"
#include "apps/output/text.h"
#include "core/parameter_table.h"
#include "core/plug.h"
#include "core/value_reading.h"
#include "editing/band_files.h"
#include "host/curves.h"
#include "platform/index.h"
#include "platform/whole_file.h"
#include "state/chunk_codec.h"
#include "state/document_keys.h"

namespace {

constexpr int kBankCount = Plug::kNumBanks;
constexpr const char* kTooMuch = "is damaged: larger than any document, or nested deeper";

const JsonNode* member(const JsonNode* object, const char* key) {
  return jsonIsType(object, kJsonObject) ? jsonGetObjectItem(object, key) : nullptr;
}

/// The text of a file, without a byte order mark and final zero bytes.
std::string contentOf(const std::string& path, std::string bytes) {
  if (bytes.starts_with(kByteOrderMark)) bytes.erase(0, kByteOrderMark.size());
  const std::size_t end = bytes.find('\0');
  if (end == std::string::npos) return bytes;
  if (bytes.find_first_not_of('\0', end) != std::string::npos) {
    throw Failure(path, "is damaged: more bytes lie behind the end of its text");
  }
  bytes.resize(end);
  return bytes;
}

std::string unpacked(const std::string& path, const std::string& bytes) {
  auto text = unpackChunk(bytes);
  if (!text) throw Failure(path, "is damaged: its packed text cannot be unpacked");
  return std::move(*text);
}

/// The error message for a fault in `text` at `offset`, with line and column.
Failure faultAt(const std::string& path, const std::string& text, std::size_t offset) {
  const std::string_view before = std::string_view(text).substr(0, offset);
  if (trimmed(before).empty()) return {path, "holds no document"};
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 without a line end
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const std::string place =
      path + ":" + std::to_string(line) + ":" + std::to_string(offset - lineStart + 1);
  const std::string rest(trimmed(std::string_view(text).substr(offset, 24)));
  if (rest.empty()) return {place, "the text breaks off here"};
  return {place, "no JSON from here on: '" + rest + "'"};
}

/// Parses `text`, which must consist of a single value. The parser ignores anything after a value,
/// which would lose half of a document with one bracket too many; so the text is parsed as a list
/// with one entry.
JsonTree parsedWhole(const std::string& path, const std::string& text) {
  const std::string list = "[" + text + "]";
  JsonFault fault;
  JsonTree values(jsonParse(list.c_str(), fault));
  if (values == nullptr) {
    if (fault.position == nullptr) throw std::bad_alloc();
    if (fault.isTooMuch) throw Failure(path, kTooMuch);
    const std::size_t offset =
        std::min(static_cast<std::size_t>(fault.position - list.c_str()), list.size());
    throw faultAt(path, text, std::min(offset - std::min<std::size_t>(offset, 1), text.size()));
  }
  const int count = jsonGetArraySize(values.get());
  if (count == 0) throw Failure(path, "holds no document");
  if (count > 1) throw Failure(path, "holds more than one JSON value: a bracket closes too soon");
  JsonTree root(std::exchange(values->child, nullptr));
  return root;
}

StateKind kindOf(const std::string& path, const JsonNode* root) {
  if (!jsonIsType(root, kJsonObject))
    throw Failure(path, "holds no document, but another JSON value");
  const auto has = [root](const char* key) { return jsonGetObjectItem(root, key) != nullptr; };
  if (has(documentKey::kPresets)) return StateKind::kFull;
  if (has(documentKey::kBandParameters) && !has(documentKey::kParameters)) return StateKind::kBand;
  if (has(documentKey::kBanks)) return StateKind::kOld;
  if (has(documentKey::kVersionMark)) return StateKind::kPreset;
  if (has(documentKey::kParameters) || has("name")) return StateKind::kOld;
  throw Failure(path, "holds no document: neither \"presets\" nor \"parameters\" nor \"params\"");
}

std::string bankName(int bank) { return std::string("bank ") + static_cast<char>('A' + bank); }

bool isBandFileRow(std::int32_t id) {
  return std::find(kBandFileRows.begin(), kBandFileRows.end(), id) != kBandFileRows.end();
}

/// The parameter of a member's key; none, with a fault added, unless `accepts` allows it.
template <typename Accepts>
std::optional<std::int32_t> keyOf(const JsonNode& entry, const Accepts& accepts,
                                  StoredValues& result) {
  const std::int32_t number = parameterKeyTable().find(entry.key);
  const bool isKnown = number >= 0 && number < kNumParams;
  if (isKnown && accepts(number)) return number;
  result.faults.push_back(
      {isKnown ? StoredFault::Kind::kNoPlace : StoredFault::Kind::kUnknown, entry.key});
  return std::nullopt;
}

/// The number of a member as the effect reads it; none if it skips the member.
std::optional<float> valueOf(const JsonNode& entry, float min, float max, StoredValues& result) {
  const bool isNumber = jsonIsType(&entry, kJsonNumber);
  const float value = isNumber ? static_cast<float>(entry.valueDouble) : 0.0F;
  if (!isNumber) result.faults.push_back({StoredFault::Kind::kNoNumber, entry.key});
  if (!std::isfinite(value)) {
    result.faults.push_back({StoredFault::Kind::kBoundless, entry.key});
    return std::nullopt;
  }
  if (isNumber && (value < min || value > max)) {
    result.faults.push_back({StoredFault::Kind::kOutOfRange, entry.key, value, min, max});
  }
  return std::clamp(value, min, max);
}

std::string rangeOf(std::string_view key) {
  const std::int32_t number = parameterKeyTable().find(key);
  return valueRange(number, kParameterTable[at(number)], {});
}

std::string sentenceOf(const StoredFault& fault) {
  const std::string key = shownName(fault.key);
  switch (fault.kind) {
    case StoredFault::Kind::kUnknown:
      return unknownParameter(fault.key);
    case StoredFault::Kind::kNoPlace:
      return key + " has no place in a band file";
    case StoredFault::Kind::kNoNumber:
      return key + " is none of its values (" + rangeOf(fault.key) + ") and counts as 0";
    case StoredFault::Kind::kBoundless:
      return key + " is beyond all bounds and is passed over";
    case StoredFault::Kind::kOutOfRange:
      return key + ": " + shortestText(fault.value) + " is out of range (" +
             shortestText(fault.min) + " to " + shortestText(fault.max) + ")";
    case StoredFault::Kind::kNoParameters:
      break;
  }
  return "\"parameters\" is missing or no object: all are at their default";
}

/// The first number, in a list and below it, that cannot be printed; null if there is none.
const JsonNode* boundlessNumber(const JsonNode* list) {
  for (; list != nullptr; list = list->next) {
    if (!std::isfinite(list->valueDouble)) return list;
    if (const JsonNode* const below = boundlessNumber(list->child)) return below;
  }
  return nullptr;
}

}  // namespace

StateDocument readStateDocument(const std::string& path) {
  StateDocument document;
  document.name = path;
  std::string bytes;
  if (const std::error_code error = readWholeFile(path, bytes, kMostDocumentBytes)) {
    if (error == std::errc::file_too_large) throw Failure(path, kTooMuch);
    throw Failure(path, "cannot be read (" + error.message() + ")");
  }
  if (bytes.empty()) throw Failure(path, "is empty");
  document.fileBytes = bytes.size();
  document.isPacked = isPackedChunk(bytes);
  document.text = contentOf(path, document.isPacked ? unpacked(path, bytes) : std::move(bytes));
  document.root = parsedWhole(path, document.text);
  document.kind = kindOf(path, document.root.get());
  return document;
}

std::string printedText(const StateDocument& document) {
  if (const JsonNode* const number = boundlessNumber(document.root.get())) {
    const std::string name = number->key != nullptr ? shownName(number->key) : "a number";
    throw Failure(document.name, name + " is beyond all bounds: no text can hold it");
  }
  const JsonText text(jsonPrintFormatted(document.root.get()));
  if (text == nullptr) throw std::bad_alloc();
  return text.get();
}

std::string stateBytes(const std::string& text, bool isPacked) {
  constexpr int kSmallest = 9;
  std::string bytes = text + '\0';
  if (!isPacked) return bytes;
  auto packed = packChunk(bytes, kSmallest);
  if (!packed) throw std::bad_alloc();
  return std::move(*packed);
}

std::vector<StoredSet> storedSets(const StateDocument& document) {
  const JsonNode* const root = document.root.get();
  if (document.kind == StateKind::kBand) return {{"band", root}};
  std::vector<StoredSet> sets;
  const bool isFull = document.kind == StateKind::kFull;
  sets.push_back(
      {"program 1", isFull ? jsonGetArrayItem(member(root, documentKey::kPresets), 0) : root});
  const JsonNode* const banks = member(root, documentKey::kBanks);
  if (banks == nullptr) return sets;
  for (int bank = 0; bank < kBankCount; ++bank) {
    sets.push_back({bankName(bank), jsonGetArrayItem(banks, bank)});
  }
  return sets;
}

StoredValues storedValues(const StoredSet& set) {
  StoredValues result;
  for (const ParameterRecord& record : kParameterTable) {
    result.values.emplace_back(
        plainToNormalised(record.value, record.min, record.max, record.curve));
  }
  const JsonNode* const stored = member(set.object, documentKey::kParameters);
  if (jsonIsType(stored, kJsonString) &&
      std::strcmp(stored->valueString, documentKey::kAllDefault) == 0) {
    return result;
  }
  if (!jsonIsType(stored, kJsonObject)) {
    if (set.object != nullptr) {
      result.faults.emplace_back();
    }
    return result;
  }
  const auto acceptsAll = [](std::int32_t) { return true; };
  for (const JsonNode* entry = stored->child; entry != nullptr; entry = entry->next) {
    const auto number = keyOf(*entry, acceptsAll, result);
    if (!number) continue;
    if (const auto value = valueOf(*entry, 0.0F, 1.0F, result)) result.values[at(*number)] = value;
  }
  return result;
}

StoredValues storedBandValues(const StateDocument& document) {
  StoredValues result;
  result.values.resize(kNumParams);
  const JsonNode* const stored = member(document.root.get(), documentKey::kBandParameters);
  if (!jsonIsType(stored, kJsonObject)) {
    throw Failure(document.name, "holds no band: \"params\" is no object");
  }
  for (const JsonNode* entry = stored->child; entry != nullptr; entry = entry->next) {
    const auto number = keyOf(*entry, isBandFileRow, result);
    if (!number) continue;
    const ParameterRecord& record = kParameterTable[at(*number)];
    if (const auto value = valueOf(*entry, record.min, record.max, result)) {
      result.values[at(*number)] = value;
    }
  }
  return result;
}

std::vector<std::string> documentFaults(const StateDocument& document) {
  std::map<StoredFault, std::size_t> places;  // indices into `found`
  std::vector<std::pair<StoredFault, std::string>> found;
  const std::vector<StoredSet> sets = storedSets(document);
  for (const StoredSet& set : sets) {
    const StoredValues values =
        document.kind == StateKind::kBand ? storedBandValues(document) : storedValues(set);
    for (const StoredFault& fault : values.faults) {
      const auto [known, isNew] = places.emplace(fault, found.size());
      if (isNew) {
        found.emplace_back(fault, set.place);
      } else if (std::string& inSets = found[known->second].second; !inSets.ends_with(set.place)) {
        inSets += ", " + set.place;
      }
    }
  }
  const std::size_t count = document.textFaults.size() + found.size();
  std::vector<std::string> faults = document.textFaults;
  faults.resize(std::min(faults.size(), kMostTold));
  for (const auto& [fault, inSets] : found) {
    if (faults.size() == kMostTold) break;
    faults.push_back(inSets + ": " + sentenceOf(fault));
  }
  addCountOfMore(faults, count - faults.size());
  return faults;
}
