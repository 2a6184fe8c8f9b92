#include "core/outside_name.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/file_system.h"
#include "platform/runtime_error.h"

namespace vlmr::core {
namespace {

struct Case {
  std::string name;
  NameFault fault;
};

TEST(OutsideName, PathsThatStayUnderTheirFolderPass) {
  const std::string good[] = {"server.ini",
                              "Pattern/vsapi.zip",
                              "Pattern\\vsapi.zip",
                              "Product/a/b/f.zip",
                              "Pattern/v_100.101",
                              "lpt$vpn.101",
                              "tsc's (new) [1] & more.zip",
                              "a b/c d.zip",
                              " leading blank.zip",
                              ".hidden",
                              "...x",
                              "a..b/c",
                              "..a",
                              "a.b.c.d",
                              "\xE4\xF6\xFC.zip",
                              "\xC3\xA4.zip",
                              "~1",
                              "%2e%2e/x",
                              "CONSOLE",
                              "NULL.zip",
                              "COM",
                              "f.zip?version=2#part",
                              "COM10",
                              "COMA",
                              "LPT12.txt",
                              "xCON",
                              "x.NUL",
                              "LPT$VPN.101",
                              std::string(255, 'a'),
                              std::string(255, 'a') + "/" + std::string(255, 'b')};
  for (const std::string& name : good) EXPECT_EQ(CheckOutsidePath(name), NameFault::kNone) << name;
}

TEST(OutsideName, PathsThatMightLeaveItAreRefusedWithTheirReason) {
  const std::string mark(platform::kTemporaryMark);
  const Case bad[] = {
      {"", NameFault::kEmpty},
      {"/etc/passwd", NameFault::kLeadingSeparator},
      {"\\windows\\x", NameFault::kLeadingSeparator},
      {"\\\\server\\share\\x", NameFault::kLeadingSeparator},
      {"//server/share/x", NameFault::kLeadingSeparator},
      {"/", NameFault::kLeadingSeparator},
      {"\\\\?\\C:\\x", NameFault::kLeadingSeparator},
      {"C:\\x", NameFault::kDriveOrStream},
      {"c:x", NameFault::kDriveOrStream},
      {"C:", NameFault::kDriveOrStream},
      {"a/b.txt:stream", NameFault::kDriveOrStream},
      {"http://host/x", NameFault::kDriveOrStream},
      {"..", NameFault::kParentFolder},
      {"../x", NameFault::kParentFolder},
      {"..\\x", NameFault::kParentFolder},
      {"a/../x", NameFault::kParentFolder},
      {"a\\..\\..\\x", NameFault::kParentFolder},
      {"a/..", NameFault::kParentFolder},
      {"a/..\\x", NameFault::kParentFolder},
      {std::string("a\0b", 3), NameFault::kControlCharacter},
      {std::string("\0", 1), NameFault::kControlCharacter},
      {"a\nb", NameFault::kControlCharacter},
      {"a\r\nb", NameFault::kControlCharacter},
      {"a\tb", NameFault::kControlCharacter},
      {"a\x7f", NameFault::kControlCharacter},
      {"CON", NameFault::kDeviceName},
      {"con.txt", NameFault::kDeviceName},
      {"a/Nul/b", NameFault::kDeviceName},
      {"aux.tar.gz", NameFault::kDeviceName},
      {"PRN", NameFault::kDeviceName},
      {"nul .txt", NameFault::kDeviceName},
      {"com1", NameFault::kDeviceName},
      {"COM9.zip", NameFault::kDeviceName},
      {"Pattern/lpt1.101", NameFault::kDeviceName},
      {"com\xC2\xB9", NameFault::kDeviceName},
      {"LPT\xB3.x", NameFault::kDeviceName},
      {"conin$", NameFault::kDeviceName},
      {"CONOUT$.log", NameFault::kDeviceName},
      {".", NameFault::kTrailingDotOrBlank},
      {"./x", NameFault::kTrailingDotOrBlank},
      {"a/./x", NameFault::kTrailingDotOrBlank},
      {"...", NameFault::kTrailingDotOrBlank},
      {".. /x", NameFault::kTrailingDotOrBlank},
      {". ./x", NameFault::kTrailingDotOrBlank},
      {"a.", NameFault::kTrailingDotOrBlank},
      {"a /x", NameFault::kTrailingDotOrBlank},
      {"a./x", NameFault::kTrailingDotOrBlank},
      {"x ", NameFault::kTrailingDotOrBlank},
      {"a*b", NameFault::kReservedCharacter},
      {"<a", NameFault::kReservedCharacter},
      {"a>", NameFault::kReservedCharacter},
      {"a|b", NameFault::kReservedCharacter},
      {"\"a\"", NameFault::kReservedCharacter},
      {"a//b", NameFault::kEmptyComponent},
      {"a\\\\b", NameFault::kEmptyComponent},
      {"a/\\b", NameFault::kEmptyComponent},
      {"a/", NameFault::kEmptyComponent},
      {"a/b\\", NameFault::kEmptyComponent},
      {std::string(256, 'a'), NameFault::kTooLong},
      {"a/" + std::string(256, 'b') + "/c", NameFault::kTooLong},
      {std::string(200, 'a') + "/" + std::string(200, 'b') + "/" + std::string(200, 'c') + "/" +
           std::string(200, 'd') + "/" + std::string(200, 'e') + "/" + std::string(200, 'f'),
       NameFault::kTooLong},
      {std::string(10'000'000, '/'), NameFault::kTooLong},
      {"vsapi.zip" + mark, NameFault::kTemporaryMark},
      {"a/x" + mark + ".12/b", NameFault::kTemporaryMark},
      {"a.VLMR-TMP", NameFault::kTemporaryMark},
  };
  for (const Case& c : bad) {
    EXPECT_EQ(DescribeNameFault(CheckOutsidePath(c.name)), DescribeNameFault(c.fault))
        << c.name.substr(0, 60);
  }
}

TEST(OutsideName, AFileNameHasNoFolder) {
  EXPECT_EQ(CheckOutsideFileName("lpt$vpn.101"), NameFault::kNone);
  EXPECT_EQ(CheckOutsideFileName("a/b"), NameFault::kFolderPart);
  EXPECT_EQ(CheckOutsideFileName("a\\b"), NameFault::kFolderPart);
  EXPECT_EQ(CheckOutsideFileName("../b"), NameFault::kParentFolder);
  EXPECT_EQ(CheckOutsideFileName("/b"), NameFault::kLeadingSeparator);
  EXPECT_EQ(CheckOutsideFileName("b/"), NameFault::kEmptyComponent);
  EXPECT_EQ(CheckOutsideFileName(""), NameFault::kEmpty);
}

TEST(OutsideName, BecomesAPathWithBackslashesBelowItsFolder) {
  EXPECT_EQ(PathBelow("/app\\ActiveUpdate\\", "Product/a/b/f.zip"),
            "/app\\ActiveUpdate\\Product\\a\\b\\f.zip");
  EXPECT_EQ(PathBelow("/app\\Pattern", "f.zip"), "/app\\Pattern\\f.zip");
  EXPECT_EQ(FileIn("/app\\CPR_Temp", "f.zip"), "/app\\CPR_Temp\\f.zip");
}

TEST(OutsideName, ThatDoesNotPassBecomesNoPathButRaises75WithTheReason) {
  const auto reason_of = [](auto make) -> std::string {
    try {
      make();
    } catch (const platform::RuntimeError& error) {
      return std::to_string(error.Number()) + " " + error.Description();
    }
    return "";
  };
  EXPECT_EQ(reason_of([] { (void)PathBelow("/app", "a/../../b"); }),
            "75 Path/File access error: it leads out of its folder");
  EXPECT_EQ(reason_of([] { (void)PathBelow("/app", ""); }), "75 Path/File access error: the name is empty");
  EXPECT_EQ(reason_of([] { (void)FileIn("/app", "a/b"); }), "75 Path/File access error: it holds a folder");
}

TEST(OutsideName, IsShownAsAPathWhateverItHolds) {
  EXPECT_EQ(ShownBelow("/app\\x\\", ""), "/app\\x\\");
  EXPECT_EQ(ShownBelow("/app\\x", "../a:b"), "/app\\x\\..\\a:b");
}

TEST(OutsideName, EveryFaultHasWordsOfItsOwn) {
  std::vector<std::string> words;
  for (int fault = 0; fault <= static_cast<int>(NameFault::kTemporaryMark); ++fault) {
    const std::string text = DescribeNameFault(static_cast<NameFault>(fault));
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(std::count(words.begin(), words.end(), text), 0) << text;
    words.push_back(text);
  }
}

}  // namespace
}  // namespace vlmr::core
