#pragma once

#include <string>

#include "toolkit/bitmap.h"

/// A picture as the bytes of a PNG file, opaque; the same picture gives the same bytes. Throws
/// `Failure`.
[[nodiscard]] std::string pngBytes(const CBitmap& picture);
