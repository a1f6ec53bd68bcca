#pragma once

#include <string>

#include "state/json_document.h"

/// Adds to an object; takes `item`, and throws std::bad_alloc for null. `key` must outlive the
/// object.
void addMember(const JsonTree& object, const char* key, JsonNode* item);
/// null for what is not finite.
void addMember(const JsonTree& object, const char* key, double number);

/// A document as text, with a line end. Throws std::bad_alloc.
[[nodiscard]] std::string jsonText(const JsonNode* document);

/// Prints a document to the standard output, with a line end.
void printJson(const JsonNode* document);
