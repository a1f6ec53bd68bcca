#include "apps/editor/event_script.h"

#include <gtest/gtest.h>

#include "apps/output/failure.h"
#include "editor/layout/tag_table.h"

namespace {

TEST(EventScript, LinesAreReadAsTheyAreMeant) {
  const auto events = parseEvents(
      "# a comment\n\n  down kGUISetup+3-4 right shift double\r\ndrag 10.5 20\nwheel kGUISetup -2 "
      "control\n"
      "key Return\nkey a control\ntype  \xc3\xa9 1.5 \nwait 20\nset kB1Gain -3\n",
      "f");
  ASSERT_EQ(events.size(), 8U);
  EXPECT_EQ(events[0].line, 3);
  EXPECT_EQ(events[0].place.tag, kGUISetup);
  EXPECT_EQ(events[0].place.x, 3.0);
  EXPECT_EQ(events[0].place.y, -4.0);
  EXPECT_EQ(events[0].button, kRButton);
  EXPECT_EQ(events[0].modifiers.all(), kShift | kDoubleClick);
  EXPECT_EQ(events[1].place.x, 10.5);
  EXPECT_EQ(events[2].place.tag, kGUISetup);
  EXPECT_EQ(events[2].number, -2.0);
  EXPECT_EQ(events[3].key.key, Key::kReturn);
  EXPECT_EQ(events[4].key.character, U'a');
  EXPECT_EQ(events[5].text, "\xc3\xa9 1.5");
  EXPECT_EQ(events[7].number, -3.0);
}

TEST(EventScript, BadLinesAreNamed) {
  for (const char* const line :
       {"jump 1 2", "move", "move kNoSuch", "move kGUISetup+1", "down 1 2 upper", "wheel 1 2",
        "key NoKey", "wait -1", "wait x", "set kNone 1", "set kB1Gain", "shot", "move 1e9 0",
        "move 5", "move 5 a", "drag 1 2 left", "move nan 0", "wait 5 alt", "wheel 1 2 3 double"}) {
    SCOPED_TRACE(line);
    try {
      static_cast<void>(parseEvents(std::string("wait 1\n") + line, "f"));
      ADD_FAILURE() << "was taken";
    } catch (const Failure& failure) {
      EXPECT_EQ(std::string(failure.what()).rfind("f:2: ", 0), 0U) << failure.what();
    }
  }
}

}  // namespace
