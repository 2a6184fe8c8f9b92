#include "core/ini_store.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "platform/runtime_error.h"
#include "support/fake_clock.h"
#include "support/fake_event_loop.h"
#include "support/memory_file_system.h"

namespace vlmr::core {
namespace {

using namespace std::chrono_literals;
using test::MemoryFileSystem;
using Operation = MemoryFileSystem::Operation;
using BatchKind = IniStore::BatchKind;

/// Files whose clock can stand still, so that a change leaves the stamp as it was.
class SlowClockFiles : public MemoryFileSystem {
 public:
  std::optional<platform::FileStamp> Stamp(const std::string& path) const override {
    const auto stamp = MemoryFileSystem::Stamp(path);
    if (!stands_still || !stamp) return stamp;
    return platform::FileStamp{.identity = 1, .size = stamp->size, .modified = 1, .changed = 1};
  }
  bool stands_still = false;
};

class IniStoreTest : public testing::Test {
 protected:
  std::string Read(const char* section, const char* key) { return store.ReadIniValue(section, key, file); }
  bool Write(const char* section, const char* key, std::string_view value) {
    return store.WriteIniValue(section, key, value, file);
  }
  std::string OnDisk() const { return files.Text(file); }

  SlowClockFiles files;
  test::FakeClock clock;
  test::FakeEventLoop loop{clock};
  IniStore store{files, loop, clock};
  const std::string file = files.At(R"(\VLMR.ini)");
};

TEST_F(IniStoreTest, AFaultIsToldOnceUntilAWriteGoesWellOrItIsAnother) {
  std::vector<int> told;
  store.OnFault([&](const std::string& where, const platform::RuntimeError& error) {
    EXPECT_EQ(where, file);
    told.push_back(error.Number());
  });
  files.Fail(Operation::kStage, "VLMR.ini", 61);
  EXPECT_FALSE(Write("a", "b", "1"));
  EXPECT_FALSE(Write("a", "b", "2"));
  EXPECT_EQ(told, (std::vector<int>{61}));
  files.FailNothing();
  files.Fail(Operation::kCommit, "VLMR.ini", 70);
  EXPECT_FALSE(Write("a", "b", "3"));
  files.FailNothing();
  EXPECT_TRUE(Write("a", "b", "4"));
  files.Fail(Operation::kCommit, "VLMR.ini", 70);
  EXPECT_FALSE(Write("a", "b", "5"));
  EXPECT_EQ(told, (std::vector<int>{61, 70, 70}));
}

TEST_F(IniStoreTest, AFileThatCannotBeReadIsToldOfBecauseItIsNotWrittenEither) {
  std::vector<int> told;
  store.OnFault(
      [&](const std::string&, const platform::RuntimeError& error) { told.push_back(error.Number()); });
  files.Put(file, "[a]\r\nb=1\r\n");
  files.Fail(Operation::kRead, "VLMR.ini", 70);
  EXPECT_FALSE(Write("a", "b", "2"));
  EXPECT_EQ(told, (std::vector<int>{70}));
}

TEST_F(IniStoreTest, AMissingFileReadsAsEveryKeyMissing) {
  EXPECT_EQ(Read("a", "k"), "");
  EXPECT_FALSE(files.Has(R"(\VLMR.ini)"));
}

TEST_F(IniStoreTest, AWriteMakesFileSectionAndKey) {
  EXPECT_TRUE(Write("a", "k", "v"));
  EXPECT_EQ(OnDisk(), "[a]\r\nk=v\r\n");
  EXPECT_EQ(Read("A", "K"), "v");
}

TEST_F(IniStoreTest, AValueOf300CharactersReadsAsItsFirst254) {
  const std::string value = std::string(250, 'x') + std::string(50, 'y');
  Write("a", "k", value);
  EXPECT_EQ(OnDisk(), "[a]\r\nk=" + value + "\r\n");
  EXPECT_EQ(Read("a", "k"), value.substr(0, 254));
}

TEST_F(IniStoreTest, AFileIsParsedOnceAndStampedAtEachUse) {
  files.Put(file, "[a]\r\nk=v\r\n");
  clock.Advance(1h);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(Read("a", "k"), "v");
  EXPECT_EQ(files.files_read.size(), 1U);
  EXPECT_EQ(files.stamped.size(), 10U);
}

TEST_F(IniStoreTest, AnEditByAnotherProgramIsSeenAtTheNextCall) {
  files.Put(file, "[a]\r\nk=1\r\n");
  EXPECT_EQ(Read("a", "k"), "1");
  files.Put(file, "[a]\r\nk=2\r\n");
  EXPECT_EQ(Read("a", "k"), "2");
  files.Remove(file);
  EXPECT_EQ(Read("a", "k"), "");
  files.Put(file, "[a]\r\nk=3\r\n");
  EXPECT_EQ(Read("a", "k"), "3");
}

TEST_F(IniStoreTest, AnEditWithinOneTickOfTheFileSystemsClockIsSeenALittleLater) {
  files.stands_still = true;
  files.Put(file, "[a]\r\nk=1\r\n");
  EXPECT_EQ(Read("a", "k"), "1");
  files.Put(file, "[a]\r\nk=2\r\n");
  clock.Advance(20ms);
  EXPECT_EQ(Read("a", "k"), "2");
}

TEST_F(IniStoreTest, AnEditWithinOneTickBehindAnOwnWriteIsSeenALittleLater) {
  files.stands_still = true;
  EXPECT_TRUE(Write("a", "k", "1"));
  files.Put(file, "[a]\r\nk=2\r\n");
  clock.Advance(20ms);
  EXPECT_EQ(Read("a", "k"), "2");
}

TEST_F(IniStoreTest, AStampThatHasSettledIsNotDoubtedAgain) {
  files.Put(file, "[a]\r\nk=1\r\n");
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(Read("a", "k"), "1");
    clock.Advance(1s);
  }
  EXPECT_EQ(files.files_read.size(), 2U);
}

TEST_F(IniStoreTest, AWriteIsNotParsedAgain) {
  Write("a", "k", "1");
  files.files_read.clear();
  EXPECT_EQ(Read("a", "k"), "1");
  Write("a", "k", "2");
  EXPECT_EQ(Read("a", "k"), "2");
  EXPECT_TRUE(files.files_read.empty());
}

TEST_F(IniStoreTest, AValueThatIsAlreadyThereIsNotWrittenAgain) {
  files.Put(file, "[a]\nk =  v\n");
  EXPECT_TRUE(Write("A", "K", "v"));
  EXPECT_TRUE(files.files_written.empty());
  EXPECT_EQ(OnDisk(), "[a]\nk =  v\n");
}

TEST_F(IniStoreTest, AWriteThatFailsLeavesTheOldFileAndSaysSo) {
  for (const Operation operation : {Operation::kStage, Operation::kWrite, Operation::kCommit}) {
    files.Put(file, "[a]\r\nk=1\r\n");
    files.Fail(operation, "VLMR.ini", 70);
    EXPECT_FALSE(Write("a", "k", "2"));
    EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\n");
    EXPECT_EQ(Read("a", "k"), "1");
    EXPECT_EQ(files.Files().size(), 1U);
    files.FailNothing();
    EXPECT_TRUE(Write("a", "k", "2"));
    EXPECT_EQ(Read("a", "k"), "2");
  }
}

TEST_F(IniStoreTest, AMissingFolderMakesAWriteFail) {
  EXPECT_FALSE(store.WriteIniValue("a", "k", "v", files.At(R"(\mQueue\x.ini)")));
  EXPECT_TRUE(files.Files().empty());
  EXPECT_TRUE(files.Folders().empty());
}

TEST_F(IniStoreTest, AFileThatCannotBeReadIsNotReplaced) {
  files.Put(file, "[a]\r\nk=1\r\n");
  files.Fail(Operation::kRead, "VLMR.ini", 70);
  EXPECT_EQ(Read("a", "k"), "");
  EXPECT_FALSE(Write("a", "l", "2"));
  EXPECT_FALSE(store.AppendBlankLine(file));
  EXPECT_FALSE(store.Create(file, "x"));
  EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\n");
  files.FailNothing();
  EXPECT_EQ(Read("a", "k"), "1");
  EXPECT_TRUE(Write("a", "l", "2"));
}

TEST_F(IniStoreTest, AFileThatGoesBetweenStampAndReadIsMadeAnew) {
  files.Put(file, "[a]\r\nk=1\r\n");
  files.Fail(Operation::kRead, "VLMR.ini", 53);
  EXPECT_TRUE(Write("b", "l", "2"));
  EXPECT_EQ(OnDisk(), "[b]\r\nl=2\r\n");
}

TEST_F(IniStoreTest, NamesThatCannotBeHeldAreNotWritten) {
  EXPECT_FALSE(Write("a]", "k", "v"));
  EXPECT_FALSE(Write("a", "k=l", "v"));
  EXPECT_FALSE(Write("a", "", "v"));
  EXPECT_TRUE(files.Files().empty());
}

TEST_F(IniStoreTest, WhatIsPublishedIsForEverybodyAndEverythingElseIsNot) {
  const std::string index = files.At(R"(\ActiveUpdate\server.ini)");
  const std::string staged = files.At(R"(\TempDownload\ActiveUpdate\server.ini)");
  const std::string mail = files.At(R"(\mQueue\1.ini)");
  for (const char* folder : {"\\ActiveUpdate", "\\TempDownload\\ActiveUpdate", "\\mQueue"})
    files.PutFolder(folder);
  for (const std::string& path : {index, staged, mail, file}) store.WriteIniValue("a", "k", "v", path);
  EXPECT_EQ(files.AccessOf(index), platform::Access::kEverybody);
  EXPECT_EQ(files.AccessOf(staged), platform::Access::kEverybody);
  EXPECT_EQ(files.AccessOf(mail), platform::Access::kOwnerAndGroup);
  EXPECT_EQ(files.AccessOf(file), platform::Access::kOwnerAndGroup);
}

TEST_F(IniStoreTest, AnEmptyLineIsAppendedAtTheEnd) {
  files.Put(file, "[a]\r\nk=1\r\n");
  EXPECT_TRUE(store.AppendBlankLine(file));
  EXPECT_TRUE(Write("a", "l", "2"));
  EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\nl=2\r\n\r\n");
}

TEST_F(IniStoreTest, AFileIsMadeAnewWithAText) {
  EXPECT_TRUE(store.Create(file, "; head\r\n"));
  EXPECT_EQ(OnDisk(), "; head\r\n");
  EXPECT_TRUE(store.Create(file, "[a]\r\nk=1\r\n"));
  EXPECT_EQ(Read("a", "k"), "1");
  files.files_written.clear();
  EXPECT_TRUE(store.Create(file, "[a]\r\nk=1\r\n"));
  EXPECT_TRUE(files.files_written.empty());
  EXPECT_TRUE(store.Create(files.At("\\empty.ini"), ""));
  EXPECT_TRUE(files.Has("\\empty.ini"));
}

TEST_F(IniStoreTest, OneFileUnderSeveralSpellingsIsOneBatch) {
  files.Put(file, "[a]\r\nk=1\r\n");
  const IniStore::Batch batch(store, file, BatchKind::kAtEnd);
  Write("a", "k", "2");
  EXPECT_EQ(store.ReadIniValue("a", "k", files.At(R"(\vlmr.INI)")), "2");
}

TEST_F(IniStoreTest, ABatchIsReadAtOnceAndWrittenOnceAtItsEnd) {
  files.Put(file, "[a]\r\nk=1\r\n");
  IniStore::Batch batch(store, file, BatchKind::kAtEnd);
  EXPECT_TRUE(store.Create(file, "[h]\r\n"));
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(Write("a", "k", std::to_string(i)));
  EXPECT_TRUE(store.AppendBlankLine(file));
  EXPECT_EQ(Read("a", "k"), "99");
  clock.Advance(1h);
  loop.Pump(0ms);
  Write("a", "l", "x");
  store.FlushBatches();
  EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\n");
  EXPECT_TRUE(batch.Finish());
  EXPECT_EQ(OnDisk(), "[h]\r\n[a]\r\nk=99\r\nl=x\r\n\r\n");
  EXPECT_EQ(files.files_written.size(), 1U);
  EXPECT_TRUE(batch.Finish());
  EXPECT_EQ(files.files_written.size(), 1U);
}

TEST_F(IniStoreTest, ABatchWithoutChangesWritesNothing) {
  files.Put(file, "[a]\r\nk=1\r\n");
  {
    const IniStore::Batch batch(store, file, BatchKind::kAtEnd);
    Write("a", "k", "1");
  }
  EXPECT_TRUE(files.files_written.empty());
}

TEST_F(IniStoreTest, OtherFilesAreWrittenAtOnceWhileABatchIsOpen) {
  const IniStore::Batch batch(store, files.At("\\server.ini"), BatchKind::kAtEnd);
  Write("a", "k", "1");
  EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\n");
}

TEST_F(IniStoreTest, NestedBatchesAreWrittenWithTheOutermost) {
  const IniStore::Batch outer(store, file, BatchKind::kAtEnd);
  Write("a", "k", "1");
  {
    IniStore::Batch inner(store, file, BatchKind::kEachSecond);
    Write("a", "l", "2");
    clock.Advance(2s);
    loop.Pump(0ms);
    EXPECT_TRUE(inner.Finish());
  }
  EXPECT_TRUE(files.files_written.empty());
}

TEST_F(IniStoreTest, SeveralValuesAreWrittenInOrderAtTheCostOfOneLook) {
  const IniStore::Batch batch(store, file, BatchKind::kEachSecond);
  Write("a", "k", "1");
  files.stamped.clear();
  EXPECT_TRUE(store.WriteIniValues("a", {{"z", "2"}, {"k", "3"}, {"b", "4"}}, file));
  EXPECT_EQ(files.stamped.size(), 1U);
  store.FlushBatches();
  EXPECT_EQ(OnDisk(), "[a]\r\nk=3\r\nz=2\r\nb=4\r\n");
}

TEST_F(IniStoreTest, OfSeveralValuesTheOnesThatCannotBeHeldAreLeftOut) {
  EXPECT_FALSE(store.WriteIniValues("a", {{"k", "1"}, {"=", "2"}, {"l", "3"}}, file));
  EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\nl=3\r\n");
}

TEST_F(IniStoreTest, APeriodicBatchIsWrittenBeforeAChildStarts) {
  const IniStore::Batch batch(store, file, BatchKind::kEachSecond);
  Write("a", "k", "1");
  EXPECT_EQ(OnDisk(), "");
  store.FlushBatches();
  EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\n");
  store.FlushBatches();
  EXPECT_EQ(files.files_written.size(), 1U);
}

TEST_F(IniStoreTest, APeriodicBatchIsWrittenEachSecondWhileTheProgramWaits) {
  const IniStore::Batch batch(store, file, BatchKind::kEachSecond);
  Write("a", "k", "1");
  loop.Pump(5s);
  EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\n");
}

TEST_F(IniStoreTest, APeriodicBatchIsWrittenEachSecondWhileTheProgramWorks) {
  const IniStore::Batch batch(store, file, BatchKind::kEachSecond);
  for (int i = 0; i < 35; ++i) {
    clock.Advance(100ms);
    Write("a", "k", std::to_string(i));
  }
  EXPECT_EQ(files.files_written.size(), 3U);
}

TEST_F(IniStoreTest, TheTimerOfPeriodicBatchesStopsWithTheLastOne) {
  {
    const IniStore::Batch first(store, file, BatchKind::kEachSecond);
    const IniStore::Batch second(store, files.At("\\b.ini"), BatchKind::kEachSecond);
    EXPECT_EQ(loop.Timers().size(), 1U);
  }
  EXPECT_TRUE(loop.Timers().empty());
}

TEST_F(IniStoreTest, WhatAnotherProgramWritesDuringABatchIsKept) {
  files.Put(file, "[a]\r\nk=1\r\n");
  IniStore::Batch batch(store, file, BatchKind::kAtEnd);
  Write("a", "l", "2");
  store.AppendBlankLine(file);
  Write("b", "m", "3");
  files.Put(file, "; other\r\n[a]\r\nk=9\r\n[c]\r\nn=4\r\n");
  EXPECT_EQ(Read("a", "k"), "9");
  EXPECT_EQ(Read("a", "l"), "2");
  EXPECT_TRUE(batch.Finish());
  EXPECT_EQ(OnDisk(), "; other\r\n[a]\r\nk=9\r\nl=2\r\n[c]\r\nn=4\r\n\r\n[b]\r\nm=3\r\n");
}

TEST_F(IniStoreTest, AFileDeletedDuringABatchGetsTheHeldChangesAlone) {
  files.Put(file, "[a]\r\nk=1\r\n");
  IniStore::Batch batch(store, file, BatchKind::kAtEnd);
  Write("a", "l", "2");
  files.Remove(file);
  EXPECT_TRUE(batch.Finish());
  EXPECT_EQ(OnDisk(), "[a]\r\nl=2\r\n");
}

TEST_F(IniStoreTest, ABatchThatCannotBeWrittenSaysSoAndLeavesTheOldFile) {
  files.Put(file, "[a]\r\nk=1\r\n");
  IniStore::Batch batch(store, file, BatchKind::kAtEnd);
  Write("a", "k", "2");
  files.Fail(Operation::kCommit, "VLMR.ini", 70);
  EXPECT_FALSE(batch.Finish());
  files.FailNothing();
  EXPECT_EQ(Read("a", "k"), "1");
  EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\n");
}

TEST_F(IniStoreTest, APeriodicBatchThatFailsOnceIsTriedAgain) {
  files.Put(file, "[a]\r\nk=1\r\n");
  IniStore::Batch batch(store, file, BatchKind::kEachSecond);
  Write("a", "k", "2");
  files.Fail(Operation::kCommit, "VLMR.ini", 70, /*nth=*/1, /*times=*/1);
  store.FlushBatches();
  EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\n");
  EXPECT_EQ(Read("a", "k"), "2");
  EXPECT_TRUE(batch.Finish());
  EXPECT_EQ(OnDisk(), "[a]\r\nk=2\r\n");
}

TEST_F(IniStoreTest, AnEndOfTheProgramInTheMiddleOfABatchPublishesNoHalfOfIt) {
  files.Put(file, "[a]\r\nk=1\r\n");
  try {
    const IniStore::Batch batch(store, file, BatchKind::kAtEnd);
    Write("a", "k", "2");
    throw platform::ProcessEnd();
  } catch (const platform::ProcessEnd&) {
    EXPECT_EQ(OnDisk(), "[a]\r\nk=1\r\n");
  }
  EXPECT_EQ(Read("a", "k"), "1");
}

TEST_F(IniStoreTest, AnEndOfTheProgramInTheMiddleOfAPeriodicBatchWritesWhatIsHeld) {
  try {
    const IniStore::Batch outer(store, file, BatchKind::kEachSecond);
    Write("a", "k", "2");
    const IniStore::Batch inner(store, file, BatchKind::kAtEnd);
    Write("a", "l", "3");
    throw platform::ProcessEnd();
  } catch (const platform::ProcessEnd&) {
    EXPECT_EQ(OnDisk(), "[a]\r\nk=2\r\n");
  }
}

}  // namespace
}  // namespace vlmr::core
