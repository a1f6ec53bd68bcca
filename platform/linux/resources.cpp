#include "platform/resources.h"

#include <cstddef>
#include <span>

#include "platform/linux/resource_table.h"

// The linker's own names for the ends of the section; null in a program without resources.
extern "C" {
// NOLINTNEXTLINE(bugprone-reserved-identifier): the linker's
[[gnu::weak, gnu::visibility("hidden")]] extern const Resource __start_corvanthelis_resources[];
// NOLINTNEXTLINE(bugprone-reserved-identifier): the linker's
[[gnu::weak, gnu::visibility("hidden")]] extern const Resource __stop_corvanthelis_resources[];
}

std::string_view findResource(std::string_view type, std::string_view name) noexcept {
  for (const Resource& resource :
       std::span(__start_corvanthelis_resources, __stop_corvanthelis_resources)) {
    if (type != resource.type || name != resource.name) continue;
    return {resource.begin, static_cast<std::size_t>(resource.end - resource.begin)};
  }
  return {};
}
