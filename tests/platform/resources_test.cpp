#include "platform/resources.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

// Found by a constructor before `main`, in an order that no file can rely on.
const std::string_view earlyFound = findResource("json", "uisettings");

TEST(Resources, HoldTheFilesByteByByteWithAZeroBehind) {
  for (const std::string name : {"defaults", "uisettings"}) {
    std::ifstream file(CORVANTHELIS_OPTIONS "/" + name + ".json", std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    const std::string_view found = findResource("json", name);
    EXPECT_GT(bytes.size(), 500U) << name;
    EXPECT_EQ(found, bytes) << name;
    EXPECT_EQ(found.data()[found.size()], 0) << name;
  }
  EXPECT_EQ(earlyFound.data(), findResource("json", "uisettings").data());
}

TEST(Resources, UnknownOnesAreEmpty) {
  const struct {
    const char* type;
    const char* name;
  } cases[] = {{"json", "default"},  {"json", "defaults2"}, {"json", ""},
               {"jso", "defaults"},  {"", "defaults"},      {"", ""},
               {"JSON", "defaults"}, {"defaults", "json"}};
  for (const auto& c : cases) {
    EXPECT_EQ(findResource(c.type, c.name).data(), nullptr) << c.type << " " << c.name;
  }
}

}  // namespace
