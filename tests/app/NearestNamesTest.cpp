#include "app/export/NearestNames.h"

#include <gtest/gtest.h>

namespace {

TEST(NearestNames, FindsPartsAndMistypings) {
  const std::vector<std::string> names = {"Ann Lee", "Anne", "Bob", "Zoë"};
  using Names = std::vector<std::string>;
  EXPECT_EQ(nearestNames("ann", names), (Names{"Ann Lee", "Anne"}));
  EXPECT_EQ(nearestNames("Anm Lee", names), Names{"Ann Lee"});
  EXPECT_EQ(nearestNames("zoë", names), Names{"Zoë"});
  EXPECT_EQ(nearestNames("somebody else", names), Names{});
  EXPECT_EQ(nearestNames("", names), Names{}) << "nothing is near everything";
  EXPECT_EQ(nearestNamesHint("bbo", {"Bob"}), "; the nearest: \"Bob\"");
}

}  // namespace
