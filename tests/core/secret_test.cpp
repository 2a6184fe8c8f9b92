#include "core/secret.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "support/memory_file_system.h"

namespace vlmr::core {
namespace {

using test::MemoryFileSystem;
using Operation = MemoryFileSystem::Operation;
using Fault = SecretCipher::Fault;

constexpr const char* kKeyFile = R"(\VLMR.key)";

class SecretTest : public testing::Test {
 protected:
  MemoryFileSystem files;
  AppPaths paths{files.Folder(), "VlMr"};
  SecretCipher cipher{paths, files};
};

TEST_F(SecretTest, WhatIsEncipheredIsDecipheredAgain) {
  for (const std::string& clear : {std::string("secret"), std::string(""), std::string("p\xE4ss;w\"rd = '"),
                                   std::string("a\0b", 3), std::string(84, 'x')}) {
    const SecretCipher::Result stored = cipher.Encipher(clear);
    ASSERT_EQ(stored.fault, Fault::kNone) << clear;
    EXPECT_TRUE(SecretCipher::IsEnciphered(stored.text));
    const SecretCipher::Result back = cipher.Decipher(stored.text);
    EXPECT_EQ(back.fault, Fault::kNone) << clear;
    EXPECT_EQ(back.text, clear);
  }
}

TEST_F(SecretTest, TheStoredFormFitsIntoOneValueAndHoldsNothingOfThePassword) {
  const std::string stored = cipher.Encipher(std::string(84, 'x')).text;
  EXPECT_EQ(stored.size(), 254U);
  EXPECT_EQ(stored.substr(0, 6), "vlmr1:");
  EXPECT_EQ(stored.find_first_not_of("0123456789abcdef", 6), std::string::npos);
  EXPECT_NE(cipher.Encipher("secret").text, cipher.Encipher("secret").text);
}

TEST_F(SecretTest, APasswordThatWouldNotFitIsAFault) {
  const SecretCipher::Result result = cipher.Encipher(std::string(85, 'x'));
  EXPECT_EQ(result.fault, Fault::kTooLong);
  EXPECT_EQ(result.text, "");
  EXPECT_FALSE(files.Has(kKeyFile));
}

TEST_F(SecretTest, TheKeyFileIsMadeOnFirstUseForItsOwnerAlone) {
  cipher.Encipher("secret");
  EXPECT_EQ(files.Text(kKeyFile).size(), 32U);
  EXPECT_EQ(files.AccessOf(kKeyFile), platform::Access::kOwner);
  const std::string key = files.Text(kKeyFile);
  cipher.Encipher("secret");
  EXPECT_EQ(files.Text(kKeyFile), key);
}

TEST_F(SecretTest, DecipheringNeverMakesOrChangesTheKeyFile) {
  const std::string stored = cipher.Encipher("secret").text;
  files.Remove(kKeyFile);
  files.files_written.clear();
  EXPECT_EQ(cipher.Decipher(stored).fault, Fault::kKeyMissing);
  EXPECT_EQ(cipher.Decipher(stored).text, "");
  EXPECT_TRUE(files.files_written.empty());
}

TEST_F(SecretTest, AKeyFileOfTheWrongSizeIsNeitherUsedNorReplaced) {
  const std::string stored = cipher.Encipher("secret").text;
  for (const std::size_t size : {std::size_t{0}, std::size_t{31}, std::size_t{33}, std::size_t{64}}) {
    const std::string key(size, 'k');
    files.Put(kKeyFile, key);
    EXPECT_EQ(cipher.Decipher(stored).fault, Fault::kKeyUnusable) << size;
    EXPECT_EQ(cipher.Encipher("secret").fault, Fault::kKeyUnusable) << size;
    EXPECT_EQ(files.Text(kKeyFile), key);
  }
}

TEST_F(SecretTest, AKeyFileThatCannotBeReadIsNotReplaced) {
  const std::string stored = cipher.Encipher("secret").text;
  const std::string key = files.Text(kKeyFile);
  files.Fail(Operation::kRead, "VLMR.key", 70);
  EXPECT_EQ(cipher.Decipher(stored).fault, Fault::kKeyUnusable);
  EXPECT_EQ(cipher.Encipher("secret").fault, Fault::kKeyUnusable);
  files.FailNothing();
  EXPECT_EQ(files.Text(kKeyFile), key);
}

TEST_F(SecretTest, AKeyFileThatCannotBeMadeIsAFault) {
  files.Fail(Operation::kStage, "VLMR.key", 70);
  EXPECT_EQ(cipher.Encipher("secret").fault, Fault::kKeyUnusable);
}

TEST_F(SecretTest, AnotherKeyOpensNothing) {
  const std::string stored = cipher.Encipher("secret").text;
  files.Put(kKeyFile, std::string(32, 'k'));
  EXPECT_EQ(cipher.Decipher(stored).fault, Fault::kWrongKeyOrDamaged);
  EXPECT_EQ(cipher.Decipher(stored).text, "");
}

TEST_F(SecretTest, ADamagedTextOpensNothing) {
  const std::string stored = cipher.Encipher("secret").text;
  std::string flipped = stored;
  flipped.back() = flipped.back() == '0' ? '1' : '0';
  for (const std::string& damaged :
       {flipped, stored.substr(0, stored.size() - 1), stored + "0", stored + "00", stored.substr(0, 8),
        std::string("vlmr1:"), std::string("vlmr1:zz"), "vlmr1: " + stored.substr(6), std::string("plain")}) {
    EXPECT_EQ(cipher.Decipher(damaged).fault, Fault::kWrongKeyOrDamaged) << damaged;
  }
}

TEST_F(SecretTest, ClearTextCarriesNoMark) {
  for (const char* text : {"", "secret", "vlmr1", "VLMR1:00", " vlmr1:00"}) {
    EXPECT_FALSE(SecretCipher::IsEnciphered(text)) << text;
  }
}

TEST_F(SecretTest, EveryFaultHasWordsOfItsOwn) {
  std::set<std::string> words;
  for (const Fault fault :
       {Fault::kNone, Fault::kKeyMissing, Fault::kKeyUnusable, Fault::kWrongKeyOrDamaged, Fault::kTooLong}) {
    EXPECT_FALSE(SecretCipher::Describe(fault).empty());
    EXPECT_TRUE(words.insert(SecretCipher::Describe(fault)).second);
  }
}

}  // namespace
}  // namespace vlmr::core
