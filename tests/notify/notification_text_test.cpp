#include "notify/notification_text.h"

#include <gtest/gtest.h>

#include "notify/notify_world.h"

namespace vlmr::notify {
namespace {

TEST(NotificationText, EveryPlaceholderIsReplacedEverywhere) {
  NotifyWorld world;
  NotificationText texts(world.runtime, world.facts);
  EXPECT_EQ(texts.ReplaceNotifsTexte("%SERVER%%CRLF%%Pattern% %PatternCPR%%CRLF%%Line%%Line%%SERVER%"),
            "MIRROR1\r\n101 1.890Build Number 3\r\n********************MIRROR1");
}

TEST(NotificationText, ATextWithoutPlaceholdersPassesUnchanged) {
  NotifyWorld world;
  NotificationText texts(world.runtime, world.facts);
  EXPECT_EQ(texts.ReplaceNotifsTexte("100% of %pattern% and %Server%, %"),
            "100% of %pattern% and %Server%, %");
  EXPECT_EQ(texts.ReplaceNotifsTexte(""), "");
}

TEST(NotificationText, ThePatternStoreIsScannedAtEveryCallNeededOrNot) {
  NotifyWorld world;
  NotificationText texts(world.runtime, world.facts);
  texts.ReplaceNotifsTexte("nothing to replace");
  texts.ReplaceNotifsTexte("%Pattern% %Pattern%");
  EXPECT_EQ(world.facts.scans, 2);
}

TEST(NotificationText, WhatAnEarlierStepPutInIsExpandedByALaterOne) {
  NotifyWorld world;
  world.facts.pattern = "%Line%%SERVER%";
  NotificationText texts(world.runtime, world.facts);
  EXPECT_EQ(texts.ReplaceNotifsTexte("%Pattern%"), "**********%SERVER%");
}

TEST(NotificationText, WithoutACprPatternItsTextHoldsZeros) {
  NotifyWorld world;
  world.facts.cpr_version = "0";
  world.facts.cpr_build = "0";
  NotificationText texts(world.runtime, world.facts);
  EXPECT_EQ(texts.ReplaceNotifsTexte("%PatternCPR%"), "0Build Number 0");
}

TEST(NotificationText, AnErrorIsLoggedAndTheOtherPlaceholdersAreReplaced) {
  NotifyWorld world;
  world.facts.error = 70;
  NotificationText texts(world.runtime, world.facts);
  EXPECT_EQ(texts.ReplaceNotifsTexte("%SERVER% %Pattern% %Line%"), "MIRROR1 %Pattern% **********");
  EXPECT_EQ(world.LogMessages(), (Lines{"ReplaceNotifsTexte: Error: [70] [Permission denied]"}));
}

}  // namespace
}  // namespace vlmr::notify
