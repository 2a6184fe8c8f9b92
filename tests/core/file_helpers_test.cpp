#include "core/file_helpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "support/test_world.h"

namespace vlmr::core {
namespace {

using namespace std::chrono_literals;
using test::World;
using Lines = std::vector<std::string>;
using Operation = test::MemoryFileSystem::Operation;

TEST(DeplaceFile, MovesAFileAndTellsEachStep) {
  World world;
  world.files.Put(R"(\in\a.zip)", "new");
  world.files.PutFolder(R"(\out)");
  world.helpers.DeplaceFile(world.At(R"(\in\a.zip)"), world.At(R"(\out\a.zip)"));
  EXPECT_EQ(world.LogMessages(),
            (Lines{R"(DeplaceFile: /app\in\a.zip=>)",
                   R"(DeplaceFile: Move /app\in\a.zip=> to /app\out\a.zip)", "DeplaceFile: lngRetVal=1"}));
  EXPECT_EQ(world.files.Text(R"(\out\a.zip)"), "new");
  EXPECT_FALSE(world.files.Has(R"(\in\a.zip)"));
}

TEST(DeplaceFile, LogsTheNameOfTheTargetAsItStandsOnDiskAndDeletesItBeforeTheMove) {
  World world;
  world.files.Put(R"(\in\a.zip)", "new");
  world.files.Put(R"(\out\A.ZIP)", "old");
  world.helpers.DeplaceFile(world.At(R"(\in\a.zip)"), world.At(R"(\out\a.zip)"));
  EXPECT_EQ(world.LogMessages(),
            (Lines{R"(DeplaceFile: /app\in\a.zip=>A.ZIP)", R"(DeplaceFile: Kill /app\out\a.zip)",
                   R"(DeplaceFile: Move /app\in\a.zip=> to /app\out\a.zip)", "DeplaceFile: lngRetVal=1"}));
  EXPECT_EQ(world.files.Text(R"(\out\a.zip)"), "new");
}

TEST(DeplaceFile, ReplacesATargetInOneStepThoughItLogsTheKill) {
  World world;
  world.files.Put(R"(\in\a.zip)", "new");
  world.files.Put(R"(\out\a.zip)", "old");
  world.helpers.DeplaceFile(world.At(R"(\in\a.zip)"), world.At(R"(\out\a.zip)"));
  EXPECT_EQ(world.LogMessages(),
            (Lines{R"(DeplaceFile: /app\in\a.zip=>a.zip)", R"(DeplaceFile: Kill /app\out\a.zip)",
                   R"(DeplaceFile: Move /app\in\a.zip=> to /app\out\a.zip)", "DeplaceFile: lngRetVal=1"}));
  EXPECT_EQ(world.files.Text(R"(\out\a.zip)"), "new");
  EXPECT_FALSE(world.files.Has(R"(\in\a.zip)"));
  EXPECT_TRUE(world.files.files_deleted.empty());
}

TEST(DeplaceFile, OfAMissingSourceDeletesTheTargetAllTheSame) {
  World world;
  world.files.Put(R"(\b)", "old");
  world.helpers.DeplaceFile(world.At(R"(\absent)"), world.At(R"(\b)"));
  EXPECT_TRUE(world.Logged("DeplaceFile: lngRetVal=0"));
  EXPECT_FALSE(world.files.Has(R"(\b)"));
}

TEST(DeplaceFile, DeletesAnExistingTargetEvenWhenTheMoveThenFails) {
  World world;
  world.files.Put(R"(\in\a.zip)", "new");
  world.files.Put(R"(\out\a.zip)", "old");
  world.files.Fail(Operation::kMove, "a.zip", 70);
  world.helpers.DeplaceFile(world.At(R"(\in\a.zip)"), world.At(R"(\out\a.zip)"));
  EXPECT_EQ(world.LogMessages(),
            (Lines{R"(DeplaceFile: /app\in\a.zip=>a.zip)", R"(DeplaceFile: Kill /app\out\a.zip)",
                   R"(DeplaceFile: Move /app\in\a.zip=> to /app\out\a.zip)", "DeplaceFile: lngRetVal=0",
                   R"(DeplaceFile: Error to move /app\in\a.zip=> to /app\out\a.zip)"}));
  EXPECT_FALSE(world.files.Has(R"(\out\a.zip)"));
  EXPECT_EQ(world.files.Text(R"(\in\a.zip)"), "new");
}

TEST(DeplaceFile, OfAMissingSourceLogsZeroAndThenTheErrorLine) {
  World world;
  world.helpers.DeplaceFile(world.At(R"(\absent)"), world.At(R"(\out)"));
  EXPECT_EQ(world.LogMessages(),
            (Lines{R"(DeplaceFile: /app\absent=>)", R"(DeplaceFile: Move /app\absent=> to /app\out)",
                   "DeplaceFile: lngRetVal=0", R"(DeplaceFile: Error to move /app\absent=> to /app\out)"}));
}

TEST(DeplaceFile, ATargetThatCannotBeDeletedMakesTheMoveFailWithoutAnotherLine) {
  World world;
  world.files.Put(R"(\a)", "new");
  world.files.Put(R"(\b)", "old");
  world.files.Fail(Operation::kDelete, "b", 70);
  world.helpers.DeplaceFile(world.At(R"(\a)"), world.At(R"(\b)"));
  EXPECT_EQ(world.LogMessages(), (Lines{R"(DeplaceFile: /app\a=>b)", R"(DeplaceFile: Kill /app\b)",
                                        R"(DeplaceFile: Move /app\a=> to /app\b)", "DeplaceFile: lngRetVal=0",
                                        R"(DeplaceFile: Error to move /app\a=> to /app\b)"}));
  EXPECT_EQ(world.files.Text(R"(\a)") + world.files.Text(R"(\b)"), "newold");
}

TEST(DeplaceFile, MakesNoFolder) {
  World world;
  world.files.Put(R"(\a)", "new");
  world.helpers.DeplaceFile(world.At(R"(\a)"), world.At(R"(\absent\b)"));
  EXPECT_TRUE(world.Logged("DeplaceFile: lngRetVal=0"));
  EXPECT_TRUE(world.files.Folders().empty());
  EXPECT_TRUE(world.files.Has(R"(\a)"));
}

TEST(DeplaceFile, TrimsBlanksOnlyForTheMoveItself) {
  World world;
  world.files.Put(R"(\a)", "new");
  world.files.Put(R"(\b)", "old");
  world.helpers.DeplaceFile(world.At(R"(\a )"), world.At(R"(\c )"));
  EXPECT_EQ(world.LogMessages(),
            (Lines{R"(DeplaceFile: /app\a =>)", R"(DeplaceFile: Move /app\a => to /app\c )",
                   "DeplaceFile: lngRetVal=1"}));
  EXPECT_EQ(world.files.Text(R"(\c)"), "new");
}

TEST(WaitFor, StartsAHiddenProgramAndAsksEveryFiftyMillisecondsUntilItHasEnded) {
  World world;
  world.processes.Script("Patch.exe", {.exit_code = 3, .polls = 4});
  world.helpers.WaitFor(world.At(R"(\Patch.exe)"));
  EXPECT_EQ(world.processes.starts,
            (std::vector<test::FakeProcessRunner::Started>{
                {R"(/app\Patch.exe)", /*awaited=*/true, platform::WindowMode::kHidden}}));
  EXPECT_EQ(world.loop.pumps, (std::vector<std::chrono::milliseconds>{0ms, 50ms, 50ms, 50ms, 50ms}));
  EXPECT_TRUE(world.LogMessages().empty());
}

TEST(WaitFor, KeepsWaitingForAProgramThatEndsWithTheNumberOfARunningOne) {
  World world;
  world.processes.Script("Patch.exe", {.exit_code = platform::kStillActive});
  world.loop.pump_limit = 1000;
  EXPECT_THROW(world.helpers.WaitFor(world.At(R"(\Patch.exe)")), std::logic_error);
}

TEST(WaitFor, ServesTimersWhileItWaits) {
  World world;
  int ticks = 0;
  world.loop.StartTimer(100ms, [&] { ++ticks; });
  world.processes.Script("Patch.exe", {.polls = 20});
  world.helpers.WaitFor(world.At(R"(\Patch.exe)"));
  EXPECT_GE(ticks, 9);
}

TEST(WaitFor, ReportsAProgramThatCannotBeStartedToTheLogAndAsAnErrorMailAndFallsThrough) {
  struct Case {
    int number;
    const char* text;
  };
  for (const Case& c : {Case{53, "53 File not found"}, Case{5, "5 Invalid procedure call or argument"},
                        Case{70, "70 Permission denied"}}) {
    World world;
    world.processes.Script("Patch.exe", {.start_error = c.number});
    world.helpers.WaitFor(world.At(R"(\Patch.exe)"));
    EXPECT_EQ(world.LogMessages(), Lines{std::string("WaitFor: Error code ") + c.text});
    EXPECT_EQ(world.notifier.mails,
              (std::vector<test::RecordingNotifier::Mail>{
                  {MailSwitch::kError,
                   std::string(R"(Error WaitFor => /app\Patch.exe !! Error !! code )") + c.text}}));
    EXPECT_TRUE(world.loop.pumps.empty());
  }
}

TEST(WaitFor, IsSilentAboutNumberTwenty) {
  World world;
  world.processes.Script("Patch.exe", {.start_error = 20});
  world.helpers.WaitFor(world.At(R"(\Patch.exe)"));
  EXPECT_TRUE(world.LogMessages().empty());
  EXPECT_TRUE(world.notifier.mails.empty());
}

TEST(WaitFor, LetsTheProgramSeeWhatABatchHoldsSoFar) {
  World world;
  const std::string index = world.At(R"(\ActiveUpdate\server.ini)");
  world.files.PutFolder(R"(\ActiveUpdate)");
  std::string seen;
  world.processes.Script("Patch.exe",
                         {.on_start = [&] { seen = world.GetIni(index, "PATTERN", "Version"); }});
  const IniStore::Batch batch(world.ini, index, IniStore::BatchKind::kEachSecond);
  world.ini.WriteIniValue("PATTERN", "Version", "101", index);
  world.helpers.WaitFor(world.At(R"(\Patch.exe)"));
  EXPECT_EQ(seen, "101");
}

TEST(GetComputerNameText, IsTheMachinesNameUnchanged) {
  World world;
  world.system.computer_name = "mirror-01.Example";
  EXPECT_EQ(world.helpers.GetComputerNameText(), "mirror-01.Example");
}

TEST(CreateFolderPath, MakesEveryMissingFolderAndReturnsTheLast) {
  World world;
  EXPECT_EQ(world.helpers.CreateFolderPath(world.At(R"(\ActiveUpdate\TSC)")), R"(/app\ActiveUpdate\TSC)");
  EXPECT_EQ(world.files.Folders(), (Lines{R"(\ActiveUpdate)", R"(\ActiveUpdate\TSC)"}));
  EXPECT_EQ(world.helpers.CreateFolderPath(world.At(R"(\ActiveUpdate\TSC)")), R"(/app\ActiveUpdate\TSC)");
  EXPECT_EQ(world.files.folders_made.size(), 2U) << "what is there is not made again";
}

TEST(CreateFolderPath, TakesWhatStandsBeforeTheFirstBackslashAsTheFirstComponent) {
  World world;
  world.helpers.CreateFolderPath(world.At(R"(\a\b)"));
  EXPECT_EQ(world.files.looked_up, (Lines{"/app", R"(/app\a)", R"(/app\a\b)"}));
}

TEST(CreateFolderPath, KeepsADriveAsFirstComponentAndNeverMakesIt) {
  World world;
  EXPECT_EQ(world.helpers.CreateFolderPath(R"(C:\mirror\a)"), R"(C:\mirror\a)");
  EXPECT_EQ(world.files.looked_up, (Lines{R"(C:\mirror)", R"(C:\mirror\a)"}));
}

TEST(CreateFolderPath, IgnoresABackslashAtTheEnd) {
  World world;
  EXPECT_EQ(world.helpers.CreateFolderPath(world.At(R"(\a\)")), R"(/app\a)");
  EXPECT_EQ(world.files.Folders(), Lines{R"(\a)"});
}

TEST(CreateFolderPath, FailsSilentlyForAComponentAndForTheRest) {
  World world;
  world.files.Put(R"(\a)", "a file in the folder's place");
  EXPECT_EQ(world.helpers.CreateFolderPath(world.At(R"(\a\b\c)")), R"(/app\a\b\c)");
  EXPECT_TRUE(world.files.Folders().empty());
  EXPECT_TRUE(world.LogMessages().empty());
}

Lines Sorted(Lines list, int first, int last, bool descending = false) {
  SortStrings(first, last, list, descending);
  return list;
}

TEST(SortStrings, LeavesAListOfOneAndAnEmptyListUnchanged) {
  EXPECT_EQ(Sorted({"b"}, 1, 1), Lines{"b"});
  EXPECT_EQ(Sorted({}, 1, 0), Lines{});
}

TEST(SortStrings, ComparesAsTextSoThatANameEndingInTenStandsBeforeOneEndingInNine) {
  EXPECT_EQ(Sorted({"v_9", "v_10", "V_11"}, 1, 3), (Lines{"V_11", "v_10", "v_9"}));
}

TEST(SortStrings, SortsDescendingWhenAsked) {
  EXPECT_EQ(Sorted({"b", "c", "a", "b"}, 1, 4, true), (Lines{"c", "b", "b", "a"}));
}

TEST(SortStrings, TouchesOnlyTheElementsBetweenTheTwoIndexes) {
  EXPECT_EQ(Sorted({"z", "c", "b", "a", "0"}, 2, 4), (Lines{"z", "a", "b", "c", "0"}));
}

TEST(SortStrings, ComparesBytesAsUnsigned) {
  EXPECT_EQ(Sorted({"\xe9", "z", "a"}, 1, 3), (Lines{"a", "z", "\xe9"}));
}

TEST(SortStrings, SortsWhateverOrderItIsGiven) {
  std::uint32_t seed = 1;
  for (int size = 2; size < 60; ++size) {
    Lines list;
    for (int i = 0; i < size; ++i) {
      seed = seed * 1664525U + 1013904223U;
      list.push_back(std::to_string(seed >> 27U));
    }
    Lines expected = list;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(Sorted(list, 1, size), expected);
    std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(Sorted(list, 1, size, true), expected);
  }
}

}  // namespace
}  // namespace vlmr::core
