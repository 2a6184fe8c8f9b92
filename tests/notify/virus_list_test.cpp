#include "notify/virus_list.h"

#include <gtest/gtest.h>

#include "core/number.h"
#include "notify/notify_world.h"

namespace vlmr::notify {
namespace {

constexpr const char* kHeader = "All detail virus names please refer to the list below.";
constexpr const char* kRule = "-------------------";

VirusList Read(NotifyWorld& world, const std::string& text) {
  world.files.Put(R"(\list.txt)", text);
  return world.virus_list.ReadVirusListFile(world.At(R"(\list.txt)"));
}

TEST(VirusList, NamesCountAndReportAreTakenFromTheLinesBetweenHeaderAndRule) {
  NotifyWorld world;
  const VirusList list = Read(
      world, "Intro\r\n" + std::string(kHeader) + "\r\nQuill.A\r\n Tumble \r\n" + kRule + "\r\nOutro\r\n");
  EXPECT_EQ(list.status, "OK");
  EXPECT_EQ(list.count, "2");
  EXPECT_EQ(list.names, "Quill.A\r\n Tumble \r\n");
  EXPECT_EQ(world.Report(), "[VIRUS]\r\nNAME1=Quill.A\r\nCOUNT=2\r\nNAME2= Tumble \r\n");
}

TEST(VirusList, AFileWithoutTheHeaderLeavesNoReportAtAll) {
  NotifyWorld world;
  world.files.Put(R"(\ListVir_Official.ini)", "[VIRUS]\r\nCOUNT=1\r\n");
  const VirusList list = Read(world, "Quill.A\r\nTumble\r\n");
  EXPECT_EQ(list.status, "OK");
  EXPECT_EQ(list.count, "");
  EXPECT_EQ(list.names, "");
  EXPECT_FALSE(world.files.Has(R"(\ListVir_Official.ini)"));
}

TEST(VirusList, ANewReportTakesThePlaceOfTheOldOneInOneStep) {
  NotifyWorld world;
  world.files.Put(R"(\ListVir_Official.ini)", "[VIRUS]\r\nNAME1=Old\r\nNAME2=Older\r\nCOUNT=2\r\n");
  Read(world, std::string(kHeader) + "\r\nQuill.A\r\n" + kRule + "\r\n");
  EXPECT_EQ(world.Report(), "[VIRUS]\r\nNAME1=Quill.A\r\nCOUNT=1\r\n");
  EXPECT_TRUE(world.files.files_deleted.empty());
}

TEST(VirusList, AReportThatCannotBeWrittenLeavesNoOldOne) {
  NotifyWorld world;
  world.files.Put(R"(\ListVir_Official.ini)", "[VIRUS]\r\nCOUNT=2\r\n");
  world.files.Fail(test::MemoryFileSystem::Operation::kStage, "ListVir_Official.ini", 61);
  EXPECT_EQ(Read(world, std::string(kHeader) + "\r\nQuill.A\r\n").count, "1");
  EXPECT_FALSE(world.files.Has(R"(\ListVir_Official.ini)"));
}

TEST(VirusList, BlankLinesAreSkippedForNumberingButStillWriteTheCount) {
  NotifyWorld world;
  EXPECT_EQ(Read(world, std::string(kHeader) + "\r\n\r\nQuill.A\r\n\r\nTumble\r\n").names,
            "Quill.A\r\nTumble\r\n");
  EXPECT_EQ(world.Report(), "[VIRUS]\r\nCOUNT=2\r\nNAME1=Quill.A\r\nNAME2=Tumble\r\n");
}

TEST(VirusList, AListOfBlankLinesOnlyCounts0) {
  NotifyWorld world;
  EXPECT_EQ(Read(world, std::string(kHeader) + "\r\n\r\n" + kRule + "\r\n").count, "0");
  EXPECT_EQ(world.Report(), "[VIRUS]\r\nCOUNT=0\r\n");
}

TEST(VirusList, AListWithoutARuleTakesEveryRemainingLine) {
  NotifyWorld world;
  EXPECT_EQ(Read(world, std::string(kHeader) + "\nQuill.A\nTumble\nLantern").names,
            "Quill.A\r\nTumble\r\nLantern\r\n");
}

TEST(VirusList, ARuleRightBehindTheHeaderLeavesTheListEmpty) {
  NotifyWorld world;
  const VirusList list = Read(world, std::string(kHeader) + "\r\n" + kRule + "\r\nQuill.A\r\n");
  EXPECT_EQ(list.count, "");
  EXPECT_EQ(world.Report(), "");
}

TEST(VirusList, ASecondHeaderStartsTheListAgainAndNumberingGoesOn) {
  NotifyWorld world;
  const std::string header = std::string(kHeader) + "\r\n";
  const VirusList list =
      Read(world, header + "Quill.A\r\n" + kRule + "\r\nskipped\r\n" + header + "Tumble\r\n");
  EXPECT_EQ(list.names, "Quill.A\r\nTumble\r\n");
  EXPECT_EQ(world.GetIni(R"(\ListVir_Official.ini)", "VIRUS", "NAME2"), "Tumble");
}

TEST(VirusList, HeaderAndRuleAreFoundInsideALineWithRegardToCase) {
  NotifyWorld world;
  EXPECT_EQ(
      Read(world, "> " + std::string(kHeader) + " <\r\nQuill.A\r\n+--" + kRule + "--+\r\nTumble\r\n").names,
      "Quill.A\r\n");
  EXPECT_EQ(Read(world, "ALL DETAIL VIRUS NAMES PLEASE REFER TO THE LIST BELOW.\r\nQuill.A\r\n").names, "");
  EXPECT_EQ(Read(world, std::string(kHeader) + "\r\n------------------\r\nQuill.A\r\n").count, "2");
}

TEST(VirusList, TheFinishedReportEqualsOneThatIsWrittenKeyByKey) {
  NotifyWorld world;
  const std::vector<std::string> lines = {"", "Quill.A", "; no comment", "\"quoted\"",
                                          "", "a=b",     "[VIRUS]",      " end "};
  std::string text = std::string(kHeader) + "\r\n";
  int number = 0;
  for (const std::string& line : lines) {
    text += line + "\r\n";
    if (!line.empty()) {
      world.ini.WriteIniValue("VIRUS", "NAME" + core::IntegerText(++number), line, world.At(R"(\bykey.ini)"));
    }
    world.ini.WriteIniValue("VIRUS", "COUNT", core::IntegerText(number), world.At(R"(\bykey.ini)"));
  }
  Read(world, text);
  EXPECT_EQ(world.Report(), world.files.Text(R"(\bykey.ini)"));
  EXPECT_EQ(world.GetIni(R"(\ListVir_Official.ini)", "VIRUS", "COUNT"), "6");
}

TEST(VirusList, TheReportIsWrittenOnceHoweverLongTheListIs) {
  NotifyWorld world;
  std::string text = std::string(kHeader) + "\r\n";
  for (int number = 1; number <= 10'000; ++number) {
    text += "Quill." + core::IntegerText(number) + "\r\n";
  }
  world.files.Put(R"(\list.txt)", text);
  world.files.files_written.clear();
  EXPECT_EQ(world.virus_list.ReadVirusListFile(world.At(R"(\list.txt)")).count, "10000");
  EXPECT_EQ(world.files.files_written, (Lines{world.At(R"(\ListVir_Official.ini)")}));
  EXPECT_EQ(world.GetIni(R"(\ListVir_Official.ini)", "VIRUS", "NAME10000"), "Quill.10000");
}

TEST(VirusList, PastTheLargestCountLaterNamesTakeTheLastPlaceAndTheTextGrowsOn) {
  NotifyWorld world;
  std::string text = std::string(kHeader) + "\r\n";
  for (int number = 1; number <= 32'800; ++number) {
    text += "V" + core::IntegerText(number) + "\r\n";
  }
  const VirusList list = Read(world, text);
  EXPECT_EQ(list.count, "32767");
  EXPECT_EQ(world.GetIni(R"(\ListVir_Official.ini)", "VIRUS", "COUNT"), "32767");
  EXPECT_EQ(world.GetIni(R"(\ListVir_Official.ini)", "VIRUS", "NAME32767"), "V32800");
  EXPECT_EQ(world.GetIni(R"(\ListVir_Official.ini)", "VIRUS", "NAME32768"), "");
  EXPECT_EQ(list.names.substr(list.names.size() - 8), "V32800\r\n");
}

TEST(VirusList, AHeaderPastTheLargestLineNumberStartsNoList) {
  NotifyWorld world;
  std::string text;
  for (int number = 0; number < 32'766; ++number) {
    text += "x\n";
  }
  EXPECT_EQ(Read(world, text + kHeader + "\nQuill.A\n").names, "");
}

TEST(VirusList, AFileThatIsTooLongToBeHeldCountsAsOneWithoutAList) {
  NotifyWorld world;
  std::string text = std::string(kHeader) + "\r\nQuill.A\r\n" + kRule + "\r\n";
  text.resize(VirusListReport::kLongestText, 'x');
  EXPECT_EQ(Read(world, text).count, "1");
  const VirusList list = Read(world, text + "x");
  EXPECT_EQ(list.status, "OK");
  EXPECT_EQ(list.count, "");
  EXPECT_EQ(list.names, "");
  EXPECT_EQ(world.LogMessages(),
            (std::vector<std::string>{"ReadVirusListFile: Refused " + world.At(R"(\list.txt)") +
                                      ": it is over 4194304 bytes"}));
}

TEST(VirusList, AMissingFileIsReportedInTheCountAndTheOldReportSurvives) {
  NotifyWorld world;
  world.files.Put(R"(\ListVir_Official.ini)", "[VIRUS]\r\nCOUNT=1\r\n");
  const VirusList list = world.virus_list.ReadVirusListFile(world.At(R"(\absent.txt)"));
  EXPECT_EQ(list.status, "NO");
  EXPECT_EQ(list.count, "Whatsnew inexistant !");
  EXPECT_EQ(list.names, "");
  EXPECT_EQ(world.source.fetches, 0);
  EXPECT_EQ(world.Report(), "[VIRUS]\r\nCOUNT=1\r\n");
}

TEST(VirusList, ThePatternsListIsFetchedOnceWhenItIsMissing) {
  NotifyWorld world;
  world.source.served = NotifyWorld::WhatsNew("Quill.A\r\n");
  EXPECT_EQ(world.virus_list.ReadPatternVirusList().count, "1");
  EXPECT_EQ(world.virus_list.ReadPatternVirusList().count, "1");
  EXPECT_EQ(world.source.fetches, 1);
}

TEST(VirusList, WhenThePatternsListCannotBeFetchedThePreviousReportSurvives) {
  NotifyWorld world;
  world.files.Put(R"(\ListVir_Official.ini)", "[VIRUS]\r\nCOUNT=1\r\n");
  const VirusList list = world.virus_list.ReadPatternVirusList();
  EXPECT_EQ(list.status, "NO");
  EXPECT_EQ(list.count, "Whatsnew inexistant !");
  EXPECT_EQ(world.source.fetches, 1);
  EXPECT_EQ(world.Report(), "[VIRUS]\r\nCOUNT=1\r\n");
}

TEST(VirusList, NoErrorReachesTheCallerOrTheLog) {
  NotifyWorld world;
  world.files.Put(R"(\ListVir_Official.ini)", "[VIRUS]\r\nCOUNT=7\r\n");
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "ListVir_Official.ini", 70);
  EXPECT_EQ(Read(world, std::string(kHeader) + "\r\nQuill.A\r\n").count, "1");
  EXPECT_EQ(world.Report(), "[VIRUS]\r\nNAME1=Quill.A\r\nCOUNT=1\r\n");
  world.files.Fail(test::MemoryFileSystem::Operation::kRead, "list.txt", 57);
  const VirusList list = Read(world, std::string(kHeader) + "\r\nQuill.A\r\n");
  EXPECT_EQ(list.status, "OK");
  EXPECT_EQ(list.count, "");
  EXPECT_EQ(world.LogMessages(), Lines{});
}

}  // namespace
}  // namespace vlmr::notify
