#include "notify/mail_queue.h"

#include <gtest/gtest.h>

#include <set>

#include "core/number.h"
#include "notify/notify_world.h"

namespace vlmr::notify {
namespace {

using core::MailSwitch;
using Operation = test::MemoryFileSystem::Operation;

/// The name that `GetFileTemp` makes of a draw while the calendar stands still.
std::string NameOf(int draw) { return core::IntegerText(draw) + "202653140709"; }

/// A pair as it must stand in the queue after the first two draws, 1 and 2.
struct ExpectedPair {
  MailSwitch event;
  std::string version;
  std::string subject;
  std::string body;  ///< without the line end of the file
};

const std::string kPatternSubject = "[Velmora]: New Pattern found From MIRROR1 101";
const std::string kPatternLine = " \r\n Pattern=101 \r\n\r\n";
const std::string kNoList =
    "\r\n====================================\r\nNew Virus List====================================\r\n";

const ExpectedPair kPairs[] = {
    {MailSwitch::kTest, "001", kPatternSubject,
     "MIRROR1 report a new Pattern update" + kPatternLine +
         "New Version=This will be the version futur Pattern version !" + kNoList},
    {MailSwitch::kPattern, "102", kPatternSubject,
     "MIRROR1 report a new Pattern update" + kPatternLine + "New Version=102" + kNoList},
    {MailSwitch::kScanEngine, "NT 7.1", "[Velmora]: New Scan Engine found from MIRROR1",
     "MIRROR1 report a new Scan Engine update" + kPatternLine + "New Version=NT 7.1"},
    {MailSwitch::kVirusList, "2", "[Velmora] List of 2 viruses", ""},
    {MailSwitch::kOpp, "5", "[Velmora]: New OPP found from MIRROR1",
     "MIRROR1 report a new Pattern update" + kPatternLine + "New Version=5"},
    {MailSwitch::kScanEngineByCheck, "%CRLF% -Key=>7.1", "[Velmora]: New Scan Engine found from MIRROR1",
     "MIRROR1 report a new Scan Engine update" + kPatternLine + "New Version=%CRLF% -Key=>7.1"},
    {MailSwitch::kSpam, "6", "[Velmora]: New SPAM found from MIRROR1",
     "MIRROR1 report a new SPAM update" + kPatternLine + "New Version=6"},
    {MailSwitch::kRedAlert, "7", "[Velmora]: New RedAlert found from MIRROR1",
     "MIRROR1 report a new RedAlert update" + kPatternLine + "New Version=7"},
    {MailSwitch::kProducts, "ignored", "[Velmora]: New Products found from MIRROR1",
     "MIRROR1 report a new product update" + kPatternLine + "[1] New Product downloaded a.zip\r\n"},
    {MailSwitch::kCpr, "1.9 Build 2", "[Velmora]: New CPR Pattern found from MIRROR1",
     "MIRROR1 report a new CPR update \r\n Pattern=1.890Build Number 3 \r\n\r\nNew Version=1.9 Build 2"},
    {MailSwitch::kTsc, "3.1", "[Velmora]: New TSC Pattern found from MIRROR1",
     "MIRROR1 report a new TSC update\r\nNew Version=3.1"},
};

TEST(MailQueue, EachSwitchMakesItsOwnPair) {
  for (const ExpectedPair& expected : kPairs) {
    SCOPED_TRACE(static_cast<int>(expected.event));
    NotifyWorld world;
    world.SetAllSwitches("1");
    world.state.SetProductUpdates("[1] New Product downloaded a.zip\r\n");
    world.files.Put(R"(\ActiveUpdate\Pattern\whatsnew.txt)", "nothing new");
    world.queue.PrepareMail(expected.event, expected.version);
    EXPECT_EQ(world.files.Text(R"(\mQueue\)" + NameOf(1) + ".ini"),
              "[MAIL]\r\nS=" + expected.subject + "\r\nF=" + NameOf(2) + ".tmp\r\n");
    EXPECT_EQ(world.files.Text(R"(\mQueue\)" + NameOf(2) + ".tmp"), expected.body + "\r\n");
    EXPECT_EQ(world.ControlFiles().size() + world.BodyFiles().size(), 2U);
    EXPECT_EQ(world.LogMessages().front(), "PrepareMail: Switch=[" +
                                               core::IntegerText(static_cast<int>(expected.event)) +
                                               "] Version=[" + expected.version + "]");
  }
}

TEST(MailQueue, EachSwitchThatIsOffMakesNoPairAndSaysSoWhereItHasWords) {
  const std::string engines = "PrepareMail: Notification for GET_ENABLE_ENGINE_NOTIF updates is disabled";
  const std::pair<MailSwitch, std::string> events[] = {
      {MailSwitch::kPattern, "PrepareMail: Notification for Pattern updates is disabled"},
      {MailSwitch::kScanEngine, engines},
      {MailSwitch::kVirusList, ""},
      {MailSwitch::kOpp, ""},
      {MailSwitch::kScanEngineByCheck, engines},
      {MailSwitch::kSpam, ""},
      {MailSwitch::kRedAlert, ""},
      {MailSwitch::kProducts, "PrepareMail: Notification for Products updates is disabled"},
      {MailSwitch::kCpr, ""},
      {MailSwitch::kTsc, ""},
  };
  for (const auto& [event, line] : events) {
    SCOPED_TRACE(static_cast<int>(event));
    NotifyWorld world;
    world.SetAllSwitches("0");
    world.queue.PrepareMail(event, "1");
    Lines expected = {"PrepareMail: Switch=[" + core::IntegerText(static_cast<int>(event)) + "] Version=[1]"};
    if (!line.empty()) {
      expected.push_back(line);
    }
    EXPECT_EQ(world.LogMessages(), expected);
    EXPECT_EQ(world.files.FindFolder(world.At(R"(\mQueue)")), "");
    EXPECT_EQ(world.facts.scans, 0);
  }
}

TEST(MailQueue, TheSwitchesWithWordsSaySoWhenTheyAreOn) {
  const std::string engines = "PrepareMail: Notification for GET_ENABLE_ENGINE_NOTIF updates is enabled";
  const std::pair<MailSwitch, std::string> events[] = {
      {MailSwitch::kTest, "PrepareMail: Create eMail for Test"},
      {MailSwitch::kPattern, "PrepareMail: Notification for Pattern updates is enabled"},
      {MailSwitch::kScanEngine, engines},
      {MailSwitch::kScanEngineByCheck, engines},
      {MailSwitch::kProducts, "PrepareMail: Notification for Products updates is enabled"},
  };
  for (const auto& [event, line] : events) {
    SCOPED_TRACE(static_cast<int>(event));
    NotifyWorld world;
    world.SetAllSwitches("1");
    world.queue.PrepareMail(event, "1");
    EXPECT_EQ(world.LogMessages().at(1), line);
  }
}

TEST(MailQueue, ASendSwitchThatIsAbsentIsWrittenBackAs0AndQueuesNothing) {
  const std::pair<MailSwitch, const char*> events[] = {{MailSwitch::kScanEngine, "Enable_Engine_Send"},
                                                       {MailSwitch::kOpp, "Enable_OPP_Send"},
                                                       {MailSwitch::kScanEngineByCheck, "Enable_Engine_Send"},
                                                       {MailSwitch::kSpam, "Enable_SPAM_Send"},
                                                       {MailSwitch::kRedAlert, "Enable_RedAlert_Send"},
                                                       {MailSwitch::kProducts, "Enable_PRODUCTS_Send"},
                                                       {MailSwitch::kTsc, "Enable_TSC_Send"}};
  for (const auto& [event, key] : events) {
    SCOPED_TRACE(key);
    NotifyWorld world;
    world.queue.PrepareMail(event, "1");
    const core::IniDocument settings(world.files.Text(R"(\VLMR.ini)"));
    EXPECT_TRUE(settings.HasKey("NOTIFICATION", key));
    EXPECT_EQ(settings.Get("NOTIFICATION", key), "0");
    EXPECT_EQ(world.ControlFiles(), Lines{});
  }
}

TEST(MailQueue, ThePatternSwitchIsNotWrittenBackAndOtherSwitchesOnlyWhenAsked) {
  NotifyWorld world;
  world.queue.PrepareMail(MailSwitch::kPattern, "1");
  const core::IniDocument settings(world.files.Text(R"(\VLMR.ini)"));
  for (const char* key : {"Enable", "Enable_OPP_Send", "Enable_TSC_Send", "Subject_PATTERN"}) {
    EXPECT_FALSE(settings.HasKey("NOTIFICATION", key)) << key;
  }
}

TEST(MailQueue, TheTestMailIsQueuedWhateverTheSwitchesSay) {
  NotifyWorld world;
  world.SetAllSwitches("0");
  world.queue.PrepareMail(MailSwitch::kTest, "");
  EXPECT_EQ(world.ControlFiles().size(), 1U);
}

TEST(MailQueue, AnErrorMailIsNeverQueued) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  world.queue.PrepareMail(MailSwitch::kError, "Unable to Patch new pattern");
  EXPECT_EQ(world.LogMessages(), (Lines{"PrepareMail: Switch=[10] Version=[Unable to Patch new pattern]"}));
  EXPECT_EQ(world.files.FindFolder(world.At(R"(\mQueue)")), "");
}

TEST(MailQueue, AVirusListWithoutACountQueuesNothing) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  world.queue.PrepareMail(MailSwitch::kVirusList, "");
  EXPECT_EQ(world.LogMessages(), (Lines{"PrepareMail: Switch=[3] Version=[]"}));
  EXPECT_EQ(world.ControlFiles(), Lines{});
}

TEST(MailQueue, AVirusListMailCarriesTheNames) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  world.PutWhatsNew("Quill.A\r\nTumble\r\n");
  world.queue.PrepareMail(MailSwitch::kVirusList, "2");
  EXPECT_EQ(world.OnlyPair().second, "Quill.A\r\nTumble\r\n\r\n");
  EXPECT_EQ(world.facts.scans, 0);
}

TEST(MailQueue, SwitchesWithoutAnEventLogTheirFirstLineOnly) {
  for (const int number : {6, 13, 99, 32767, -1, -32768}) {
    NotifyWorld world;
    world.SetAllSwitches("1");
    world.queue.PrepareMail(static_cast<MailSwitch>(number), "x");
    EXPECT_EQ(world.LogMessages(),
              (Lines{"PrepareMail: Switch=[" + core::IntegerText(number) + "] Version=[x]"}));
    EXPECT_EQ(world.ControlFiles(), Lines{});
  }
}

TEST(MailQueue, ASwitchThatIsNoNumberIsReportedAndOff) {
  NotifyWorld world;
  world.SetSetting("NOTIFICATION", "Enable", "yes");
  world.queue.PrepareMail(MailSwitch::kPattern, "1");
  EXPECT_EQ(world.LogMessages(),
            (Lines{"PrepareMail: Switch=[1] Version=[1]", "PrepareMail: Error 13 Type mismatch",
                   "PrepareMail: Notification for Pattern updates is disabled"}));
}

TEST(MailQueue, TheWholeLogOfAPatternMailShowsFreshNamesAndTwoScans) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  world.PutWhatsNew("Quill.A\r\n");
  world.queue.PrepareMail(MailSwitch::kPattern, "102");
  EXPECT_EQ(world.LogMessages(), (Lines{
                                     "PrepareMail: Switch=[1] Version=[102]",
                                     "PrepareMail: Notification for Pattern updates is enabled",
                                     "CreateSmtpMail: Writing temp eMail for [1] new viruses stored",
                                     "CreateSmtpMail: [" + NameOf(3) + ".ini] => Create temporary eMail...",
                                 }));
  EXPECT_EQ(world.facts.scans, 2);
}

TEST(MailQueue, APatternMailCarriesTheNewVirusesBelowTwoRulesTheSecondOnTheTitlesLine) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  world.PutWhatsNew("Quill.A\r\nTumble\r\n-------------------\r\n");
  world.queue.PrepareMail(MailSwitch::kPattern, "102");
  EXPECT_EQ(world.OnlyPair().second,
            "MIRROR1 report a new Pattern update \r\n Pattern=101 \r\n\r\n"
            "New Version=102\r\n"
            "====================================\r\n"
            "New Virus List====================================\r\n"
            "Quill.A\r\nTumble\r\n\r\n");
}

TEST(MailQueue, APatternMailWithoutAListTriesToFetchItOnceAndNotesItsAbsence) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  world.queue.PrepareMail(MailSwitch::kPattern, "001");
  EXPECT_EQ(world.source.fetches, 1);
  EXPECT_TRUE(
      world.Logged("CreateSmtpMail: Writing temp eMail for [Whatsnew inexistant !] new viruses stored"));
  EXPECT_EQ(
      world.OnlyPair().second,
      "MIRROR1 report a new Pattern update \r\n Pattern=101 \r\n\r\nNew Version=001" + kNoList + "\r\n");
}

TEST(MailQueue, TheCprListIsCountedInTheLogOnly) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  world.files.Put(R"(\ActiveUpdate\CPR\whatsnew.txt)", NotifyWorld::WhatsNew("Quill.A\r\n"));
  world.queue.PrepareMail(MailSwitch::kCpr, "1");
  EXPECT_TRUE(world.Logged("CreateSmtpMail: Writing temp eMail for [1] new viruses stored"));
  EXPECT_EQ(world.OnlyPair().second.find("Quill.A"), std::string::npos);
  EXPECT_EQ(world.source.fetches, 0);
}

TEST(MailQueue, TheOperatorsTemplatesTakeThePlaceOfTheDefaults) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  world.SetSetting("NOTIFICATION", "Subject_OPP", "OPP at %SERVER%");
  world.SetSetting("NOTIFICATION", "Body_OPP", "Hello%CRLF%%Line%");
  world.queue.PrepareMail(MailSwitch::kOpp, "5");
  EXPECT_EQ(world.OnlyPair().first, "[MAIL]\r\nS=OPP at MIRROR1\r\nF=" + NameOf(2) + ".tmp\r\n");
  EXPECT_EQ(world.OnlyPair().second, "Hello\r\n**********\r\nNew Version=5\r\n");
}

TEST(MailQueue, ALineBreakInASubjectBecomesBlanksInTheControlFile) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  world.SetSetting("NOTIFICATION", "Subject_TSC", "TSC%CRLF%found");
  world.queue.PrepareMail(MailSwitch::kTsc, "5");
  EXPECT_EQ(world.OnlyPair().first, "[MAIL]\r\nS=TSC  found\r\nF=" + NameOf(2) + ".tmp\r\n");
}

TEST(MailQueue, TheControlFileAppearsWholeBeforeTheBodyAndEachInOneWrite) {
  NotifyWorld world;
  world.files.files_written.clear();
  world.queue.CreateSmtpMail("body", "subject", false, false);
  Lines queued;
  for (const std::string& path : world.files.files_written) {
    if (path.find("mQueue") != std::string::npos) {
      queued.push_back(path);
    }
  }
  EXPECT_EQ(queued, (Lines{world.At(R"(\mQueue\)") + NameOf(1) + ".ini",
                           world.At(R"(\mQueue\)") + NameOf(2) + ".tmp"}));
}

TEST(MailQueue, BothFilesOfAMailAreForTheirOwnerAndGroup) {
  NotifyWorld world;
  world.queue.CreateSmtpMail("body", "subject", false, false);
  for (const std::string& file : {NameOf(1) + ".ini", NameOf(2) + ".tmp"}) {
    EXPECT_EQ(world.files.AccessOf(R"(\mQueue\)" + file), platform::Access::kOwnerAndGroup) << file;
  }
}

TEST(MailQueue, TheTwoFilesOfAMailHaveDifferentBaseNamesEvenWhenTheDrawsAreEqual) {
  NotifyWorld world;
  world.random.draws = {7, 7, 7, 8};
  world.queue.CreateSmtpMail("body", "subject", false, false);
  EXPECT_EQ(world.ControlFiles(), (Lines{NameOf(7) + ".ini"}));
  EXPECT_EQ(world.BodyFiles(), (Lines{NameOf(8) + ".tmp"}));
}

TEST(MailQueue, ABodyThatWaitsInTheQueueIsNeverReplaced) {
  NotifyWorld world;
  world.files.Put(R"(\mQueue\)" + NameOf(2) + ".tmp", "another mail");
  world.queue.CreateSmtpMail("body", "subject", false, false);
  EXPECT_EQ(world.files.Text(R"(\mQueue\)" + NameOf(2) + ".tmp"), "another mail");
  EXPECT_EQ(world.files.Text(R"(\mQueue\)" + NameOf(3) + ".tmp"), "body\r\n");
  EXPECT_EQ(world.LogMessages("CreateSmtpMail: ").size(), 1U);
}

/// Draws the same number for ever.
class StuckRandom : public core::Random {
 public:
  int Draw() override { return 7; }
  void Seed(std::uint64_t /*moment*/) override {}
};

TEST(MailQueue, ADrawThatNeverChangesStillFindsAFreeBodyName) {
  NotifyWorld world;
  StuckRandom random;
  MailQueue queue(world.runtime, random, world.virus_list, world.facts);
  queue.CreateSmtpMail("body", "subject", false, false);
  EXPECT_EQ(world.ControlFiles(), (Lines{NameOf(7) + ".ini"}));
  EXPECT_EQ(world.BodyFiles(), (Lines{NameOf(7) + "0.tmp"}));
}

TEST(MailQueue, TwelveMailsInOneSecondMakeTwelvePairs) {
  NotifyWorld world;
  world.SetAllSwitches("1");
  core::PseudoRandom random;
  MailQueue queue(world.runtime, random, world.virus_list, world.facts);
  for (int engine = 1; engine <= 12; ++engine) {
    queue.PrepareMail(MailSwitch::kScanEngineByCheck, "Engine" + core::IntegerText(engine));
  }
  EXPECT_EQ(world.ControlFiles().size(), 12U);
  EXPECT_EQ(world.BodyFiles().size(), 12U);
  std::set<std::string> bodies;
  std::set<std::string> texts;
  for (const std::string& control : world.ControlFiles()) {
    const std::string body = world.GetIni(R"(\mQueue\)" + control, "MAIL", "F");
    bodies.insert(body);
    texts.insert(world.files.Text(R"(\mQueue\)" + body));
  }
  EXPECT_EQ(bodies.size(), 12U);
  EXPECT_EQ(texts.size(), 12U);
  EXPECT_FALSE(texts.contains(""));
}

/// Puts control files in the way of the first `count` control names that are drawn. Each collision draws a
/// name for its log line, then a control and a body name.
void PutInTheWay(NotifyWorld& world, int count) {
  for (int collision = 0; collision < count; ++collision) {
    world.files.Put(R"(\mQueue\)" + NameOf(1 + 3 * collision) + ".ini", "taken");
  }
}

TEST(MailQueue, TenNameCollisionsAreTolerated) {
  NotifyWorld world;
  PutInTheWay(world, 10);
  world.queue.CreateSmtpMail("body", "subject", false, false);
  EXPECT_EQ(world.ControlFiles().size(), 11U);
  EXPECT_EQ(world.files.Text(R"(\mQueue\)" + NameOf(32) + ".tmp"), "body\r\n");
  const Lines lines = world.LogMessages("CreateSmtpMail: ");
  ASSERT_EQ(lines.size(), 11U);
  EXPECT_EQ(lines.front(),
            "CreateSmtpMail: [" + NameOf(3) + ".ini] already exist, randomize a new File  [0]");
  EXPECT_EQ(lines.at(9), "CreateSmtpMail: [" + NameOf(30) + ".ini] already exist, randomize a new File  [9]");
  EXPECT_EQ(lines.back(), "CreateSmtpMail: [" + NameOf(33) + ".ini] => Create temporary eMail...");
}

TEST(MailQueue, TheEleventhCollisionEndsTheMailWithoutAnyFile) {
  NotifyWorld world;
  PutInTheWay(world, 11);
  world.queue.CreateSmtpMail("body", "subject", false, false);
  EXPECT_EQ(world.ControlFiles().size(), 11U);
  EXPECT_EQ(world.BodyFiles(), Lines{});
  const Lines lines = world.LogMessages("CreateSmtpMail: ");
  ASSERT_EQ(lines.size(), 12U);
  EXPECT_EQ(lines.at(10),
            "CreateSmtpMail: [" + NameOf(33) + ".ini] already exist, randomize a new File  [10]");
  EXPECT_EQ(lines.back(),
            "CreateSmtpMail: too many files stored in mQueue Folder, skip notification function");
}

TEST(MailQueue, AQueueFolderThatCannotBeMadeIsReportedAndSoIsTheBody) {
  NotifyWorld world;
  world.files.Fail(Operation::kMakeFolder, "mQueue", 75);
  world.queue.CreateSmtpMail("body", "subject", false, false);
  EXPECT_EQ(world.LogMessages("CreateSmtpMail: Error"),
            (Lines{"CreateSmtpMail: Error: [75] [Path/File access error]",
                   "CreateSmtpMail: Error: [76] [Path not found]"}));
}

TEST(MailQueue, ABodyThatCannotBeWrittenIsReportedAndNeverHalfThere) {
  NotifyWorld world;
  world.files.Fail(Operation::kWrite, "*.tmp", 61);
  world.queue.CreateSmtpMail("body", "subject", false, false);
  EXPECT_TRUE(world.Logged("CreateSmtpMail: Error: [61] [Disk full]"));
  EXPECT_EQ(world.BodyFiles(), Lines{});
}

}  // namespace
}  // namespace vlmr::notify
