#include "platform/resources.h"

#include <cstddef>

#include "platform/linux/resource_table.h"

std::string_view findResource(std::string_view type, std::string_view name) noexcept {
  for (const Resource& resource : resourceTable()) {
    if (type != resource.type || name != resource.name) continue;
    return {resource.begin, static_cast<std::size_t>(resource.end - resource.begin)};
  }
  return {};
}
