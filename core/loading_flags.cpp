#include "core/loading_flags.h"

#include <charconv>
#include <string>
#include <system_error>

namespace {

constexpr const char* kName = "loadingFlags";

}  // namespace

std::int32_t LoadingFlags::get() {
  if (const auto text = store.read(kName)) {
    std::int64_t stored = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), stored);
    if (error == std::errc()) latest.store(static_cast<std::int32_t>(stored));
  }
  return latest.load();
}

void LoadingFlags::set(std::int32_t flags) {
  latest.store(flags);
  store.write(kName, std::to_string(flags));
}
