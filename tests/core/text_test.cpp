#include "core/text.h"

#include <gtest/gtest.h>

#include "support/error_of.h"

namespace vlmr::core {
namespace {

using test::ErrorOf;

TEST(Text, FoldsAsciiLettersOnly) {
  EXPECT_EQ(FoldCase('A'), 'a');
  EXPECT_EQ(FoldCase('Z'), 'z');
  EXPECT_EQ(FoldCase('a'), 'a');
  EXPECT_EQ(FoldCase('['), '[');
  EXPECT_EQ(FoldCase('\xC4'), '\xC4');
  EXPECT_EQ(ToUpper("lpt$vpn.\xE4z"), "LPT$VPN.\xE4Z");
}

TEST(Text, ComparesNamesIgnoringAsciiCase) {
  EXPECT_TRUE(EqualsIgnoringCase("CPRUrl", "CprUrl"));
  EXPECT_TRUE(EqualsIgnoringCase("", ""));
  EXPECT_FALSE(EqualsIgnoringCase("CprUrl", "CprUr"));
  EXPECT_FALSE(EqualsIgnoringCase("CprUr", "CprUrl"));
  EXPECT_FALSE(EqualsIgnoringCase("\xC4", "\xE4"));
  EXPECT_FALSE(EqualsIgnoringCase("[", "{"));
}

TEST(Text, TrimsBlanksAndKeepsTabsUnlessAsked) {
  EXPECT_EQ(TrimBlanks("  a b  "), "a b");
  EXPECT_EQ(TrimBlanks("\t a"), "\t a");
  EXPECT_EQ(TrimBlanks("   "), "");
  EXPECT_EQ(TrimBlanks(""), "");
  EXPECT_EQ(TrimBlanksAndTabs("\t a\tb \t"), "a\tb");
  EXPECT_EQ(TrimBlanksAndTabs(" \r"), "\r");
}

TEST(Text, ReplacesEveryOccurrenceWithoutLookingAtWhatWasPutIn) {
  EXPECT_EQ(ReplaceAll("%CRLF%a%CRLF%", "%CRLF%", "\r\n"), "\r\na\r\n");
  EXPECT_EQ(ReplaceAll("aaa", "a", "aa"), "aaaaaa");
  EXPECT_EQ(ReplaceAll("aaa", "aa", "a"), "aa");
  EXPECT_EQ(ReplaceAll("%server%", "%SERVER%", "x"), "%server%");
  EXPECT_EQ(ReplaceAll("a//b", "/", ""), "ab");
  EXPECT_EQ(ReplaceAll("", "x", "y"), "");
}

TEST(Text, SplitsAtEverySeparator) {
  using Pieces = std::vector<std::string>;
  EXPECT_EQ(Split("a,,b", ','), (Pieces{"a", "", "b"}));
  EXPECT_EQ(Split("", ','), (Pieces{""}));
  EXPECT_EQ(Split(",", ','), (Pieces{"", ""}));
  EXPECT_EQ(Split(" a , b ", ','), (Pieces{" a ", " b "}));
}

TEST(Text, GivesTheLastCharacters) {
  EXPECT_EQ(LastCharacters("lpt$vpn.101", 3), "101");
  EXPECT_EQ(LastCharacters("ab", 3), "ab");
  EXPECT_EQ(LastCharacters("", 3), "");
}

TEST(Text, EndsLinesAtCrLfLfAndCr) {
  using Pieces = std::vector<std::string_view>;
  EXPECT_EQ(Lines("a\r\nb\nc\rd"), (Pieces{"a", "b", "c", "d"}));
  EXPECT_EQ(Lines("a\r\n"), (Pieces{"a"}));
  EXPECT_EQ(Lines("\r\n\r\n"), (Pieces{"", ""}));
  EXPECT_EQ(Lines("\n\r"), (Pieces{"", ""}));
  EXPECT_EQ(Lines("\r\r\n"), (Pieces{"", ""}));
  EXPECT_EQ(Lines(""), (Pieces{}));
}

TEST(Text, SplitsPathAndSizeAtTheFirstComma) {
  const PathAndSize parts = SplitPathAndSize("Pattern/vsapi.zip,12,3");
  EXPECT_EQ(parts.path, "Pattern/vsapi.zip");
  EXPECT_EQ(parts.size, "12,3");
  EXPECT_EQ(SplitPathAndSize("").path, "");
  EXPECT_EQ(SplitPathAndSize(",7").path, "");
  EXPECT_EQ(SplitPathAndSize(",7").size, "7");
  EXPECT_EQ(ErrorOf([] { SplitPathAndSize("Pattern/vsapi.zip"); }), 5);
}

TEST(Text, TakesTheVersionBetweenTheCommas) {
  EXPECT_EQ(GetVersionField("Pattern/a.zip, 1.101 ,4711"), "1.101 ");
  EXPECT_EQ(GetVersionField("Pattern/a.zip,  1.101,4711"), "1.101");
  EXPECT_EQ(GetVersionField("Pattern/a.zip,1.101"), "1.101");
  EXPECT_EQ(GetVersionField("Pattern/a.zip, 1.101  "), "1.101");
  EXPECT_EQ(GetVersionField("a,,4711"), "");
  EXPECT_EQ(GetVersionField(""), "");
  EXPECT_EQ(ErrorOf([] { GetVersionField("Pattern/a.zip"); }), 5);
}

TEST(Text, TheTextBeforeAMissingCommaIsAnError) {
  EXPECT_EQ(BeforeComma("a,b,c"), "a");
  EXPECT_EQ(BeforeComma(","), "");
  EXPECT_EQ(ErrorOf([] { BeforeComma("a"); }), 5);
  EXPECT_EQ(ErrorOf([] { BeforeComma(""); }), 5);
}

}  // namespace
}  // namespace vlmr::core
