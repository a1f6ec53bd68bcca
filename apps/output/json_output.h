#pragma once

#include <string>

#include "state/json_document.h"

/// Adds a member to an object, which takes ownership of `item`; throws std::bad_alloc if `item` is
/// null. `key` must outlive the object.
void addMember(const JsonTree& object, const char* key, JsonNode* item);
/// Adds a number; infinities and NaN become JSON null.
void addMember(const JsonTree& object, const char* key, double number);

/// A document as text, with a line end. Throws std::bad_alloc.
[[nodiscard]] std::string jsonText(const JsonNode* document);

/// Prints a document and a line end to the standard output.
void printJson(const JsonNode* document);
