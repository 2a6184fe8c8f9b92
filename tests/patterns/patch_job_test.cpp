#include "patterns/patch_job.h"

#include <gtest/gtest.h>

#include "patterns/pattern_world.h"

namespace vlmr::patterns {
namespace {

constexpr const char* kJobFile = R"(\Patch.ini)";
constexpr const char* kStaged = R"(\TempDownload\ActiveUpdate\Pattern\)";

/// A mirror that holds 100 and has staged the increment to 101.
class HeldWorld : public PatternWorld {
 public:
  HeldWorld() {
    files.Put(R"(\Pattern\lpt$vpn.100)", "old");
    files.Put(std::string(kStaged) + "v_100.101", "inc");
  }
};

TEST(PatchIni, TheJobFileIsWrittenWholeInTheOrderOfItsTable) {
  HeldWorld world;
  world.job.PatchIni("100", "101");
  EXPECT_EQ(world.files.Text(kJobFile),
            "[debug]\r\n"
            "MODE=3\r\n"
            "[MAIN]\r\n"
            "Option=1\r\n"
            "Pattern=v_100.101\r\n"
            "Engine=\r\n"
            "Product=\r\n"
            "PatternFrom=100\r\n"
            "PatternTo=101\r\n"
            "Agent=auaction.dll\r\n"
            "Patch_exe=AUOfcPrg.dll\r\n"
            "Patch_ini=AUOfcPrg.INI\r\n"
            "ProductID=22\r\n"
            "Merge=1\r\n"
            "Source=/app\\TempDownload\\ActiveUpdate\\Pattern\r\n"
            "Destination=/app\\Pattern\r\n"
            "Backup=/app\\TempDownload\\ActiveUpdate\\Pattern\\Backup\r\n"
            "[Log]\r\n"
            "Finished=\r\n"
            "Result=\r\n"
            "Rollback=\r\n"
            "ErrorFile=\r\n"
            "ErrorID=\r\n");
}

TEST(PatchIni, AnEarlierJobsLogIsEmptiedAndUnknownKeysSurvive) {
  HeldWorld world;
  world.SetIni(kJobFile, "Log", "Finished", "1");
  world.SetIni(kJobFile, "Log", "ErrorID", "7");
  world.SetIni(kJobFile, "MAIN", "PatternTo", "100");
  world.SetIni(kJobFile, "MAIN", "Operator", "kept");
  world.job.PatchIni("100", "101");
  EXPECT_EQ(world.GetIni(kJobFile, "Log", "Finished"), "");
  EXPECT_EQ(world.GetIni(kJobFile, "Log", "ErrorID"), "");
  EXPECT_EQ(world.GetIni(kJobFile, "MAIN", "PatternTo"), "101");
  EXPECT_EQ(world.GetIni(kJobFile, "MAIN", "Operator"), "kept");
}

TEST(PatchIni, TheJobFileStandsWholeBeforeTheProgramStarts) {
  HeldWorld world;
  std::string seen;
  world.processes.Script("Patch.exe", {.on_start = [&] { seen = world.files.Text(kJobFile); }});
  world.job.PatchIni("100", "101");
  EXPECT_EQ(seen, world.files.Text(kJobFile));
  EXPECT_NE(seen.find("ErrorID="), std::string::npos);
}

TEST(PatchIni, APatternMadeInTheWorkingFolderIsPublished) {
  HeldWorld world;
  world.ScriptPatchProgram();
  EXPECT_TRUE(world.job.PatchIni("100", "101"));
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\Pattern\lpt$vpn.101)"), "old+inc");
  EXPECT_EQ(world.WorkingFolder(), Names{});
  EXPECT_EQ(world.processes.Programs(), (Names{R"(/app\Patch.exe)"}));
  EXPECT_EQ(world.LogMessages(),
            (Lines{
                "PatchIni: found =v_100.101",
                R"(PatchIni: execute /app\Patch.exe)",
                R"(PatchIni: Testing stored new pattern version =>/app\Pattern\lpt$vpn.101)",
                "PatchIni: Tests= lpt$vpn.101",
                R"(DeplaceFile: /app\Pattern\lpt$vpn.101=>)",
                R"(DeplaceFile: Move /app\Pattern\lpt$vpn.101=> to /app\ActiveUpdate\Pattern\lpt$vpn.101)",
                "DeplaceFile: lngRetVal=1",
            }));
}

TEST(PatchIni, APatternMadeInTheSourceFolderIsFoundAtTheSecondLook) {
  HeldWorld world;
  world.ScriptPatchProgram(PatternWorld::Patch::kWritesIntoSource);
  EXPECT_TRUE(world.job.PatchIni("100", "101"));
  EXPECT_EQ(world.files.Text(R"(\ActiveUpdate\Pattern\lpt$vpn.101)"), "old+inc");
  const std::string staged = R"(/app\TempDownload\ActiveUpdate\Pattern\lpt$vpn.101)";
  EXPECT_TRUE(world.Logged("PatchIni: Tests= "));
  EXPECT_TRUE(world.Logged("PatchIni: Testing stored new pattern version =>" + staged));
  EXPECT_TRUE(world.Logged("PatchIni: " + staged + "= lpt$vpn.101"));
}

TEST(PatchIni, AProgramThatMakesNothingFails) {
  HeldWorld world;
  world.processes.Script("Patch.exe", {.exit_code = 3});
  EXPECT_FALSE(world.job.PatchIni("100", "101"));
  EXPECT_EQ(world.LogMessages().back(), R"(PatchIni: /app\TempDownload\ActiveUpdate\Pattern\lpt$vpn.101= )");
  EXPECT_EQ(world.WorkingFolder(), (Names{"lpt$vpn.100"}));
}

TEST(PatchIni, AProgramThatIsMissingFailsWithTheLineOfTheWait) {
  HeldWorld world;
  world.processes.Script("Patch.exe", {.start_error = 53});
  EXPECT_FALSE(world.job.PatchIni("100", "101"));
  EXPECT_TRUE(world.Logged("WaitFor: Error code 53 File not found"));
}

TEST(PatchIni, AProgramThatTakesLongIsWaitedFor) {
  HeldWorld world;
  world.processes.Script(
      "Patch.exe", {.polls = 100, .on_exit = [&] { world.files.Put(R"(\Pattern\lpt$vpn.101)", "late"); }});
  EXPECT_TRUE(world.job.PatchIni("100", "101"));
}

TEST(PatchIni, WithoutTheIncrementUnderItsOwnNameNothingIsWrittenOrRun) {
  PatternWorld world;
  world.files.Put(std::string(kStaged) + "other.101", "inc");
  EXPECT_FALSE(world.job.PatchIni("100", "101"));
  EXPECT_FALSE(world.HasFile(kJobFile));
  EXPECT_EQ(world.processes.starts.size(), 0U);
  EXPECT_EQ(world.LogMessages(), Lines{});
  EXPECT_FALSE(world.files.FindFolder(world.At(R"(\TempDownload\ActiveUpdate\Pattern\Backup)")).empty());
}

TEST(PatchIni, WhatAnEarlierRunOfTheProgramLeftIsDeletedFirst) {
  HeldWorld world;
  world.files.Put(R"(\patch.lst)", "x");
  world.files.Put(R"(\Pattern\ofcscan.ini)", "x");
  world.processes.Script("Patch.exe", {.on_start = [&] {
                           EXPECT_FALSE(world.HasFile(R"(\patch.lst)"));
                           EXPECT_FALSE(world.HasFile(R"(\Pattern\ofcscan.ini)"));
                         }});
  world.job.PatchIni("100", "101");
  EXPECT_EQ(world.processes.StartsOf("Patch.exe"), 1);
}

TEST(PatchIni, TheOldPatternGoesFromStagingAndBackupButNotFromTheWorkingFolder) {
  HeldWorld world;
  world.files.Put(std::string(kStaged) + "lpt$vpn.100", "x");
  world.files.Put(std::string(kStaged) + R"(Backup\lpt$vpn.100)", "x");
  world.files.Put(std::string(kStaged) + R"(Backup\lpt$vpn.099)", "x");
  world.job.PatchIni("100", "101");
  EXPECT_FALSE(world.HasFile(std::string(kStaged) + "lpt$vpn.100"));
  EXPECT_FALSE(world.HasFile(std::string(kStaged) + R"(Backup\lpt$vpn.100)"));
  EXPECT_TRUE(world.HasFile(std::string(kStaged) + R"(Backup\lpt$vpn.099)"));
  EXPECT_TRUE(world.HasFile(R"(\Pattern\lpt$vpn.100)"));
}

TEST(PatchIni, TheResultDoesNotDependOnTheMove) {
  HeldWorld world;
  world.ScriptPatchProgram();
  world.files.Fail(test::MemoryFileSystem::Operation::kMove, "lpt$vpn.101", 70);
  EXPECT_TRUE(world.job.PatchIni("100", "101"));
  EXPECT_FALSE(world.HasFile(R"(\ActiveUpdate\Pattern\lpt$vpn.101)"));
}

TEST(PatchIni, AFileThatCannotBeDeletedIsLoggedAndTheJobGoesOn) {
  HeldWorld world;
  world.files.Put(R"(\patch.lst)", "x");
  world.files.Fail(test::MemoryFileSystem::Operation::kDelete, "patch.lst", 70);
  world.ScriptPatchProgram();
  EXPECT_TRUE(world.job.PatchIni("100", "101"));
  EXPECT_TRUE(world.Logged("PatchIni: Error 70 Permission denied"));
}

}  // namespace
}  // namespace vlmr::patterns
