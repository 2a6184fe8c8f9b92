#include "patterns/auxiliary_patterns.h"

#include <gtest/gtest.h>

#include "patterns/pattern_world.h"
#include "support/error_of.h"

namespace vlmr::patterns {
namespace {

using index::AuxiliaryPattern;
using test::ErrorOf;

struct Words {
  AuxiliaryPattern pattern;
  std::string key;
  std::string prefix;
  std::string stored;
  std::string server;
};

const Words kWords[] = {
    {AuxiliaryPattern::kMpp, "P.10",
     "GetMPPPattern:", "GetMPPPattern: MPP stored=", "GetMPPPattern: MPP stored On ActiveUpdate Server="},
    {AuxiliaryPattern::kOpp, "P.20",
     "GetOPPPattern:", "GetOPPPattern:OPP Store Version=", "GetOPPPattern:OPP ActiveUPdate Version="},
    {AuxiliaryPattern::kSpam, "P.40", "GetSPAMPattern:", "GetSPAMPattern: SPAM stored=",
     "GetSPAMPattern: SPAM stored on ActiveUpdate server="},
    {AuxiliaryPattern::kRedAlert, "P.80", "GetRedAlertPattern:", "GetRedAlertPattern:RedAlerte stored=",
     "GetRedAlertPattern:RedAlerte stored On ActiveUpdate Server="},
};

TEST(AuxiliaryPatterns, EachFetchesPublishesAndRecordsANewerFileInItsOwnWords) {
  for (const Words& words : kWords) {
    SCOPED_TRACE(words.key);
    PatternWorld world;
    world.PutFreshIndex({{words.key, "Extra/new.zip, 7.20,999"}});
    world.SetIni(R"(\ActiveUpdate\server.ini)", "PATTERN", words.key, "Extra/old.zip,7.1,3");
    world.Serve("Extra/new.zip", "bytes");
    EXPECT_TRUE(world.auxiliary.GetPattern(words.pattern));
    EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\Extra\new.zip)"), "bytes");
    EXPECT_EQ(world.StoredKey(words.key), "Extra/new.zip,7.20,5");
    EXPECT_EQ(world.Requests(), (Names{"Extra/new.zip"}));
    EXPECT_EQ(world.LogMessages(words.prefix),
              (Lines{
                  words.prefix + "Value1=Extra/old.zip,7.1,3",
                  words.prefix + "Value2=Extra/new.zip, 7.20,999",
                  words.stored + "7.1",
                  words.server + "7.20",
                  words.prefix + "Tests=",
                  words.prefix + "Try to get http://main.example/au/Extra/new.zip",
                  words.prefix + R"(Save it in /app\TempDownload\ActiveUpdate\Extra\new.zip)",
                  words.prefix + "Tests1=new.zip",
              }));
  }
}

TEST(AuxiliaryPatterns, TheFourProceduresReadTheirOwnKeys) {
  PatternWorld world;
  world.PutFreshIndex(
      {{"P.10", "mpp.zip,1,1"}, {"P.20", "opp.zip,1,1"}, {"P.40", "spam.zip,1,1"}, {"P.80", "red.zip,1,1"}});
  for (const char* name : {"mpp.zip", "opp.zip", "spam.zip", "red.zip"}) {
    world.Serve(name, "x");
  }
  EXPECT_TRUE(world.auxiliary.GetOPPPattern());
  EXPECT_TRUE(world.auxiliary.GetMPPPattern());
  EXPECT_TRUE(world.auxiliary.GetSPAMPattern());
  EXPECT_TRUE(world.auxiliary.GetRedAlertPattern());
  EXPECT_EQ(world.Requests(), (Names{"opp.zip", "mpp.zip", "spam.zip", "red.zip"}));
}

TEST(AuxiliaryPatterns, EqualVersionsWithTheFilePresentFetchAndWriteNothing) {
  PatternWorld world;
  world.PutFreshIndex({{"P.10", "Extra/new.zip,1.10,999"}});
  world.SetIni(R"(\ActiveUpdate\server.ini)", "PATTERN", "P.10", "Extra/new.zip,1.1,3");
  world.files.Put(R"(\ActiveUpdate\Extra\new.zip)", "held");
  EXPECT_FALSE(world.auxiliary.GetMPPPattern());
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_EQ(world.StoredKey("P.10"), "Extra/new.zip,1.1,3");
  EXPECT_EQ(world.LogMessages().back(), "GetMPPPattern:Tests=new.zip");
}

TEST(AuxiliaryPatterns, AMissingFileIsFetchedAndItsKeyWrittenWithoutAStoredVersion) {
  PatternWorld world;
  world.PutFreshIndex({{"P.10", "Extra/new.zip,0,999"}});
  world.Serve("Extra/new.zip", "bytes");
  EXPECT_TRUE(world.auxiliary.GetMPPPattern());
  EXPECT_EQ(world.StoredKey("P.10"), "Extra/new.zip,0,5");
}

TEST(AuxiliaryPatterns, AnEmptyStoredVersionCountsAs0WhenTheFileIsPresent) {
  PatternWorld world;
  world.files.Put(R"(\ActiveUpdate\Extra\new.zip)", "held");
  world.Serve("Extra/new.zip", "bytes");
  world.PutFreshIndex({{"P.10", "Extra/new.zip,0,999"}});
  EXPECT_FALSE(world.auxiliary.GetMPPPattern());
  world.PutFreshIndex({{"P.10", "Extra/new.zip,0.5,999"}});
  EXPECT_TRUE(world.auxiliary.GetMPPPattern());
}

TEST(AuxiliaryPatterns, AKeyThatIsAbsentEndsWithError5AfterItsLines) {
  PatternWorld world;
  world.PutFreshIndex({{"Version", "101"}});
  EXPECT_EQ(ErrorOf([&] { world.auxiliary.GetMPPPattern(); }), 5);
  EXPECT_EQ(world.LogMessages(), (Lines{
                                     "GetMPPPattern:Value1=",
                                     "GetMPPPattern:Value2=",
                                     "GetMPPPattern: MPP stored=",
                                     "GetMPPPattern: MPP stored On ActiveUpdate Server=",
                                 }));
}

TEST(AuxiliaryPatterns, AValueWithoutACommaEndsWithError5) {
  PatternWorld world;
  world.PutFreshIndex({{"P.40", "Extra/new.zip"}});
  EXPECT_EQ(ErrorOf([&] { world.auxiliary.GetSPAMPattern(); }), 5);
  EXPECT_EQ(world.Requests(), Names{});
}

TEST(AuxiliaryPatterns, AVersionThatIsNoNumberEndsWithError13AlsoWhenTheFileIsMissing) {
  PatternWorld world;
  world.PutFreshIndex({{"P.20", "Extra/new.zip,new,3"}});
  EXPECT_EQ(ErrorOf([&] { world.auxiliary.GetOPPPattern(); }), 13);
  world.files.Put(R"(\ActiveUpdate\Extra\new.zip)", "held");
  EXPECT_EQ(ErrorOf([&] { world.auxiliary.GetOPPPattern(); }), 13);
  EXPECT_EQ(world.Requests(), Names{});
}

TEST(AuxiliaryPatterns, WhatOnlyTheSecondSourceCarriesIsFetchedThere) {
  PatternWorld world;
  world.PutFreshIndex({{"P.80", "Extra/new.zip,2,3"}});
  world.downloader.Serve("http://second.example/au/Extra/new.zip", "bytes");
  EXPECT_TRUE(world.auxiliary.GetRedAlertPattern());
  EXPECT_EQ(world.Requests(), (Names{"Extra/new.zip", "http://second.example/au/Extra/new.zip"}));
  const Lines messages = world.LogMessages("GetRedAlertPattern:");
  EXPECT_EQ(Lines(messages.begin() + 5, messages.end()),
            (Lines{
                "GetRedAlertPattern:Try to get http://main.example/au/Extra/new.zip",
                R"(GetRedAlertPattern:Save it in /app\TempDownload\ActiveUpdate\Extra\new.zip)",
                "GetRedAlertPattern:Try to get http://second.example/au/Extra/new.zip",
                R"(GetRedAlertPattern:Save it in /app\TempDownload\ActiveUpdate\Extra\new.zip)",
                "GetRedAlertPattern:Tests1=new.zip",
            }));
}

TEST(AuxiliaryPatterns, WhatNeitherSourceCarriesLeavesTheMirrorAsItWas) {
  PatternWorld world;
  world.PutFreshIndex({{"P.80", "Extra/new.zip,2,3"}});
  world.SetIni(R"(\ActiveUpdate\server.ini)", "PATTERN", "P.80", "Extra/new.zip,1,3");
  world.files.Put(R"(\ActiveUpdate\Extra\new.zip)", "held");
  EXPECT_FALSE(world.auxiliary.GetRedAlertPattern());
  EXPECT_EQ(world.LogMessages().back(), "GetRedAlertPattern:Tests1=");
  EXPECT_EQ(world.StoredKey("P.80"), "Extra/new.zip,1,3");
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\Extra\new.zip)"), "held");
}

TEST(AuxiliaryPatterns, AFailedMoveEndsWithError53AndWritesNothing) {
  PatternWorld world;
  world.PutFreshIndex({{"P.10", "Extra/new.zip,2,3"}});
  world.Serve("Extra/new.zip", "bytes");
  world.files.Fail(test::MemoryFileSystem::Operation::kMove, "new.zip", 70);
  EXPECT_EQ(ErrorOf([&] { world.auxiliary.GetMPPPattern(); }), 53);
  EXPECT_EQ(world.StoredKey("P.10"), "");
}

TEST(AuxiliaryPatterns, APathThatLeavesTheTreeIsRefusedOnceBeforeAnyRequest) {
  PatternWorld world;
  world.PutFreshIndex({{"P.10", "../../VLMR.ini,2,3"}});
  EXPECT_FALSE(world.auxiliary.GetMPPPattern());
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_EQ(world.LogMessages("ServiceFetch: Refused path [../../VLMR.ini]").size(), 1U);
  EXPECT_EQ(world.LogMessages().back(), "GetMPPPattern:Tests1=");
}

TEST(AuxiliaryPatterns, AnEmptyPathIsLoggedWithAnEmptyTailAndNeverRequested) {
  PatternWorld world;
  world.PutFreshIndex({{"P.10", ",2,3"}});
  EXPECT_FALSE(world.auxiliary.GetMPPPattern());
  EXPECT_EQ(world.Requests(), Names{});
  EXPECT_TRUE(world.Logged("GetMPPPattern:Try to get http://main.example/au/"));
  EXPECT_EQ(world.LogMessages().back(), "GetMPPPattern:Tests1=");
}

}  // namespace
}  // namespace vlmr::patterns
