#pragma once

#include <string>

#include "libraries/aax/aax_host.h"

/// A text of the plug-in's own to hand to the host or to take from it. A null text counts as empty.
class AAX_CString : public AAX_IString {
 public:
  AAX_CString() = default;
  explicit AAX_CString(const char* initial) { AAX_CString::Set(initial); }
  virtual ~AAX_CString() = default;
  AAX_CString(const AAX_CString&) = delete;
  AAX_CString& operator=(const AAX_CString&) = delete;

  [[nodiscard]] std::uint32_t Length() const override {
    return static_cast<std::uint32_t>(text.size());
  }
  [[nodiscard]] const char* Get() const override { return text.c_str(); }
  void Set(const char* newText) override { text = newText != nullptr ? newText : ""; }

 private:
  std::string text;
};
