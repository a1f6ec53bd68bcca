#pragma once

#include "state/json_document.h"

/// Adds a member to an object, which takes ownership of `item`; throws std::bad_alloc if `item` is
/// null. `key` must outlive the object.
void addMember(const JsonTree& object, const char* key, JsonNode* item);
/// Adds a number; infinities and NaN become JSON null.
void addMember(const JsonTree& object, const char* key, double number);

/// Prints a document and a line end to the standard output.
void printJson(const JsonNode* document);
