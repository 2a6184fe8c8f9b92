#include "core/number.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/error_of.h"

namespace vlmr::core {
namespace {

using test::ErrorOf;

const std::vector<std::string> kNoNumbers = {"abc",   "1,5",   "1 5", "--1", "+-1",  "1.2.3", ".",    "-",
                                             "+",     "e5",    "1e",  "1e+", "1e5x", "0x10",  "inf",  "nan",
                                             "1e2.5", "12abc", "1\r", ".e1", "1d5",  "\x80",  "True", "&H10"};

TEST(Number, AnEmptyOrBlankTextIsZeroWithoutError) {
  for (const char* text : {"", " ", "\t", " \t "}) {
    EXPECT_EQ(ToInt16(text), 0) << '[' << text << ']';
    EXPECT_EQ(ToSingle(text), 0) << '[' << text << ']';
    EXPECT_EQ(ToDouble(text), 0) << '[' << text << ']';
    EXPECT_FALSE(ToBoolean(text)) << '[' << text << ']';
  }
}

TEST(Number, ATextThatIsNoNumberRaises13) {
  for (const std::string& text : kNoNumbers) {
    EXPECT_EQ(ErrorOf([&] { ToInt16(text); }), 13) << '[' << text << ']';
    EXPECT_EQ(ErrorOf([&] { ToSingle(text); }), 13) << '[' << text << ']';
    EXPECT_EQ(ErrorOf([&] { ToDouble(text); }), 13) << '[' << text << ']';
    if (text != "True") {
      EXPECT_EQ(ErrorOf([&] { ToBoolean(text); }), 13) << '[' << text << ']';
    }
  }
}

TEST(Number, TextBecomesA16BitNumberWithHalvesRoundedToEven) {
  struct Case {
    const char* text;
    int value;
  };
  const Case cases[] = {{"1", 1},           {" 80\t", 80},        {"-1", -1},
                        {"+5", 5},          {"007", 7},           {"0.5", 0},
                        {"1.5", 2},         {"2.5", 2},           {"3.5", 4},
                        {"-0.5", 0},        {"-1.5", -2},         {"-2.5", -2},
                        {"2.51", 3},        {"2.49", 2},          {"1e2", 100},
                        {"1E+2", 100},      {"150e-1", 15},       {".6", 1},
                        {"7.", 7},          {"32767", 32767},     {"32767.4", 32767},
                        {"-32768", -32768}, {"-32768.5", -32768}, {"1e-400", 0}};
  for (const Case& c : cases) EXPECT_EQ(ToInt16(c.text), c.value) << c.text;
}

TEST(Number, ANumberOutside16BitsRaises6) {
  for (const char* text :
       {"32768", "32767.5", "-32769", "-32768.51", "1e5", "1e400", "99999999999999999999"}) {
    EXPECT_EQ(ErrorOf([&] { ToInt16(text); }), 6) << text;
  }
}

TEST(Number, TextBecomesTheNearestSingle) {
  EXPECT_EQ(ToSingle("1.101"), 1.101F);
  EXPECT_EQ(ToSingle("16777217"), 16777216.0F);
  EXPECT_EQ(ToSingle("-3.4e38"), -3.4e38F);
  EXPECT_EQ(ToSingle("1e-60"), 0.0F);
  EXPECT_EQ(ToSingle("0." + std::string(80, '0') + "1"), 0.0F);
  EXPECT_EQ(ToSingle(std::string(200, '0') + "1"), 1.0F);
  EXPECT_EQ(ToSingle("0e99999999999999999999"), 0.0F);
}

TEST(Number, ASingleBeyondItsRangeRaises6) {
  for (const std::string& text :
       {std::string("3.5e38"), std::string("-3.5e38"), std::string("1e99999999999999999999"),
        "1" + std::string(100, '0') + "e-5", "0.1" + std::string(50, '0') + "e50"}) {
    EXPECT_EQ(ErrorOf([&] { ToSingle(text); }), 6) << text;
  }
}

TEST(Number, SizesAreDoubles) {
  EXPECT_EQ(ToDouble("4294967296"), 4294967296.0);
  EXPECT_EQ(ToDouble("1e-400"), 0.0);
  EXPECT_EQ(ErrorOf([] { ToDouble("1e400"); }), 6);
  EXPECT_EQ(ErrorOf([] { ToDouble("-1e400"); }), 6);
}

TEST(Number, TextBecomesBoolean) {
  for (const char* text : {"True", "true", " TRUE\t", "1", "-1", "2", "0.1"})
    EXPECT_TRUE(ToBoolean(text)) << text;
  for (const char* text : {"False", "FALSE ", "0", "0.0", "-0"}) EXPECT_FALSE(ToBoolean(text)) << text;
  EXPECT_EQ(ErrorOf([] { ToBoolean("yes"); }), 13);
}

TEST(Number, ASingleIsShownWithSevenSignificantDigits) {
  struct Case {
    const char* text;
    const char* shown;
  };
  const Case cases[] = {{"100", "100"},
                        {"1234.00", "1234"},
                        {"1.10", "1.1"},
                        {"099", "99"},
                        {"10000000", "1E+07"},
                        {"16777217", "1.677722E+07"},
                        {"0", "0"},
                        {"-0", "0"},
                        {"9999999", "9999999"},
                        {"0.0001", "0.0001"},
                        {"0.00001", "1E-05"},
                        {"1.5e12", "1.5E+12"},
                        {"-2.5", "-2.5"},
                        {"0.1", "0.1"},
                        {"1.101", "1.101"},
                        {"123456.7", "123456.7"},
                        {"1234567.8", "1234568"},
                        {"0.00012345678", "0.0001234568"},
                        {"3.402823e38", "3.402823E+38"},
                        {"1e-30", "1E-30"},
                        {"-0.0123", "-0.0123"},
                        {"9999999.9", "1E+07"},
                        {"99999.998", "100000"}};
  for (const Case& c : cases) EXPECT_EQ(SingleText(ToSingle(c.text)), c.shown) << c.text;
}

TEST(Number, WholeNumbersAndBooleansAsText) {
  EXPECT_EQ(BooleanText(true), "True");
  EXPECT_EQ(BooleanText(false), "False");
  EXPECT_EQ(IntegerText(0), "0");
  EXPECT_EQ(IntegerText(-9223372036854775807 - 1), "-9223372036854775808");
  EXPECT_EQ(PaddedText(7, 2), "07");
  EXPECT_EQ(PaddedText(123, 2), "123");
  EXPECT_EQ(PaddedText(-7, 2), "-07");
  EXPECT_EQ(PaddedText(0, 3), "000");
}

TEST(Number, VersionsAsTextAreComparedByUnsignedBytes) {
  EXPECT_TRUE(CompareAsText("99", "100") > 0);
  EXPECT_TRUE(CompareAsText("10.0", "9.0") < 0);
  EXPECT_TRUE(CompareAsText("", "0") < 0);
  EXPECT_TRUE(CompareAsText("1.1", "1.10") < 0);
  EXPECT_TRUE(CompareAsText("a", "B") > 0);
  EXPECT_TRUE(CompareAsText("\xE4", "z") > 0);
  EXPECT_TRUE(CompareAsText("101", "101") == 0);
}

TEST(Number, VersionsAsSinglesAreComparedByValue) {
  EXPECT_TRUE(CompareAsSingles("99", "100") < 0);
  EXPECT_TRUE(CompareAsSingles("1.10", "1.1") == 0);
  EXPECT_TRUE(CompareAsSingles("", "0") == 0);
  EXPECT_TRUE(CompareAsSingles("16777217", "16777216") == 0);
  EXPECT_EQ(ErrorOf([] { (void)CompareAsSingles("x", "1"); }), 13);
}

}  // namespace
}  // namespace vlmr::core
