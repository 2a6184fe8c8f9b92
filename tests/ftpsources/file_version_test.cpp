#include "ftpsources/file_version.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "support/executable_sample.h"
#include "support/test_world.h"

namespace vlmr::ftpsources {
namespace {

constexpr std::string_view kFile = R"(\ActiveUpdate\TSC\tsc.exe)";

class FileVersionTest : public testing::Test {
 protected:
  std::string VersionOf(std::string_view bytes) {
    world.files.Put(kFile, bytes);
    return FileVersionOf(world.files, world.At(kFile));
  }
  test::World world;
};

TEST_F(FileVersionTest, ReadsTheVersionResourceOfA32BitProgram) {
  EXPECT_EQ(VersionOf(test::SampleExecutable({.version = {3, 9, 0, 1020}})), "3.9.0.1020");
}

TEST_F(FileVersionTest, ReadsTheVersionResourceOfA64BitProgram) {
  EXPECT_EQ(VersionOf(test::SampleExecutable({.is_64_bit = true, .version = {65535, 0, 65535, 1}})),
            "65535.0.65535.1");
}

TEST_F(FileVersionTest, AProgramWithoutVersionResourceHasNone) {
  EXPECT_EQ(VersionOf(test::SampleExecutable({.has_version = false})), "");
}

TEST_F(FileVersionTest, WhatIsNoProgramHasNone) {
  EXPECT_EQ(VersionOf(""), "");
  EXPECT_EQ(VersionOf("MZ"), "");
  EXPECT_EQ(VersionOf("#!/bin/sh\nexit 0\n" + std::string(500, ' ')), "");
  EXPECT_EQ(VersionOf(std::string(100'000, '\xff')), "");
  EXPECT_EQ(VersionOf("MZ" + std::string(100'000, '\0')), "");
}

TEST_F(FileVersionTest, AMissingOrUnreadableFileHasNone) {
  EXPECT_EQ(FileVersionOf(world.files, world.At(R"(\absent.exe)")), "");
  EXPECT_EQ(FileVersionOf(world.files, world.At(R"(\no\folder\x.exe)")), "");
  world.files.Put(kFile, test::SampleExecutable({}));
  world.files.Fail(test::MemoryFileSystem::Operation::kRead, "tsc.exe", 70);
  EXPECT_EQ(FileVersionOf(world.files, world.At(kFile)), "");
}

TEST_F(FileVersionTest, EveryTruncationIsSurvived) {
  const std::string whole = test::SampleExecutable({.version = {1, 2, 3, 4}});
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const std::string version = VersionOf(std::string_view(whole).substr(0, length));
    EXPECT_TRUE(version.empty() || version == "1.2.3.4") << length;
  }
}

TEST_F(FileVersionTest, EveryDamagedByteIsSurvived) {
  const std::string whole = test::SampleExecutable({.version = {1, 2, 3, 4}});
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char value : {'\0', '\x7f', '\xff'}) {
      std::string damaged = whole;
      damaged[at] = value;
      const std::string version = VersionOf(damaged);
      EXPECT_LE(version.size(), 23U) << at;
    }
  }
}

/// Counts what is read of a file that claims to be huge.
class CountingFile : public platform::InputFile {
 public:
  explicit CountingFile(std::string head) : head_(std::move(head)) {}
  std::size_t ReadAt(std::int64_t offset, std::span<char> buffer) override {
    read += buffer.size();
    for (std::size_t i = 0; i < buffer.size(); ++i) {
      const auto at = static_cast<std::uint64_t>(offset) + i;
      buffer[i] = at < head_.size() ? head_[at] : '\xff';
    }
    return buffer.size();
  }
  std::int64_t Length() const override { return std::int64_t{1} << 40; }
  std::size_t read = 0;

 private:
  std::string head_;
};

TEST_F(FileVersionTest, ReadsLittleWhateverTheFileSaysOfItsSizes) {
  CountingFile file(test::SampleExecutable({.has_version = false}));
  EXPECT_EQ(FileVersionOf(file), "");
  EXPECT_LT(file.read, 300'000U);
  CountingFile hostile("MZ" + std::string(58, '\xff') + std::string("\x40\0\0\0PE\0\0", 8));
  EXPECT_EQ(FileVersionOf(hostile), "");
  EXPECT_LT(hostile.read, 300'000U);
}

}  // namespace
}  // namespace vlmr::ftpsources
