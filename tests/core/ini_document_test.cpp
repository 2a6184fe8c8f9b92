#include "core/ini_document.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vlmr::core {
namespace {

TEST(IniDocument, ReadsValuesByTheRulesOfPrivateProfiles) {
  struct Case {
    const char* text;
    const char* section;
    const char* key;
    const char* value;
  };
  const Case cases[] = {
      {"[a]\r\nk=v\r\n", "a", "k", "v"},
      {"[a]\r\nk=v", "a", "k", "v"},
      {"[a]\nk=v\n", "a", "k", "v"},
      {"[a]\rk=v\rl=w\r", "a", "l", "w"},
      {"[a]\r\nk=v\r\n", "A", "K", "v"},
      {"[Section]\r\nKey=v\r\n", "sECTION", "kEY", "v"},
      {"  [ a ]  \r\n\t k \t=\t v w \t\r\n", "a", "k", "v w"},
      {"[a]\r\nk=v\r\n", " a ", " k ", "v"},
      {"[a]\r\nk=\"v\"\r\n", "a", "k", "v"},
      {"[a]\r\nk='v'\r\n", "a", "k", "v"},
      {"[a]\r\nk=\" v \"\r\n", "a", "k", " v "},
      {"[a]\r\nk=\"\"v\"\"\r\n", "a", "k", "\"v\""},
      {"[a]\r\nk=\"v'\r\n", "a", "k", "\"v'"},
      {"[a]\r\nk=\"\r\n", "a", "k", "\""},
      {"[a]\r\nk=\"\"\r\n", "a", "k", ""},
      {"[a]\r\nk=a\"b\"c\r\n", "a", "k", "a\"b\"c"},
      {"[a]\r\nk=v ; w\r\n", "a", "k", "v ; w"},
      {"[a]\r\n;k=v\r\n", "a", "k", ""},
      {"[a]\r\n;k=v\r\n", "a", ";k", ""},
      {"[a]\r\n  ; k=v\r\nk=w\r\n", "a", "k", "w"},
      {"[a]\r\n#k=v\r\n", "a", "#k", "v"},
      {"[a]\r\nk=\r\n", "a", "k", ""},
      {"[a]\r\nk\r\n", "a", "k", ""},
      {"[a]\r\n=v\r\n", "a", "", ""},
      {"[a]\r\nk=v=w\r\n", "a", "k", "v=w"},
      {"[a]\r\nk=1\r\nk=2\r\n", "a", "k", "1"},
      {"[a]\r\nk=1\r\nK=2\r\n", "a", "K", "1"},
      {"[a]\r\nk=1\r\n[b]\r\n[A]\r\nk=2\r\nl=3\r\n", "a", "k", "1"},
      {"[a]\r\nk=1\r\n[b]\r\n[A]\r\nk=2\r\nl=3\r\n", "a", "l", ""},
      {"[a]\r\n[b]\r\nk=v\r\n", "a", "k", ""},
      {"k=v\r\n[a]\r\n", "a", "k", ""},
      {"k=v\r\n[a]\r\n", "", "k", ""},
      {"[]\r\nk=v\r\n", "", "k", "v"},
      {"[a\r\nk=v\r\n", "a", "k", ""},
      {"[a]\r\n[b\r\nk=v\r\n", "a", "k", "v"},
      {"[a] rest ]\r\nk=v\r\n", "a", "k", "v"},
      {"\xEF\xBB\xBF[a]\r\nk=v\r\n", "a", "k", "v"},
      {"[\xC4]\r\n\xE4=\xF6\r\n", "\xC4", "\xE4", "\xF6"},
      {"[\xC4]\r\n\xE4=\xF6\r\n", "\xE4", "\xE4", ""},
      {"", "a", "k", ""},
      {"\r\n\r\n", "a", "k", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(IniDocument(c.text).Get(c.section, c.key), c.value)
        << c.text << " -> " << c.section << ' ' << c.key;
  }
}

TEST(IniDocument, TellsAnEmptyValueFromAMissingKey) {
  const IniDocument document("[a]\r\nk=\r\nl\r\n");
  EXPECT_TRUE(document.HasKey("a", "K"));
  EXPECT_FALSE(document.HasKey("a", "l"));
  EXPECT_FALSE(document.HasKey("b", "k"));
}

TEST(IniDocument, WritesWithoutTouchingAnythingElse) {
  struct Case {
    const char* why;
    std::string before;
    const char* section;
    const char* key;
    const char* value;
    std::string after;
  };
  const Case cases[] = {
      {"an empty file", "", "a", "k", "v", "[a]\r\nk=v\r\n"},
      {"the value is replaced in place", "[a]\r\nk=1\r\nl=2\r\n", "a", "k", "3", "[a]\r\nk=3\r\nl=2\r\n"},
      {"the key keeps its spelling", "[a]\r\nMyKey=1\r\n", "A", "MYKEY", "2", "[a]\r\nMyKey=2\r\n"},
      {"blanks and quotes of a replaced line go", "[a]\r\n  k = \"1\"\r\n", "a", "k", "2", "[a]\r\nk=2\r\n"},
      {"the first of two keys is replaced", "[a]\r\nk=1\r\nk=1\r\n", "a", "k", "2", "[a]\r\nk=2\r\nk=1\r\n"},
      {"a new key goes behind the last line that is not blank", "[a]\r\nk=1\r\n\r\n  \r\n[b]\r\n", "a", "l",
       "2", "[a]\r\nk=1\r\nl=2\r\n\r\n  \r\n[b]\r\n"},
      {"a comment is a line that is not blank", "[a]\r\nk=1\r\n; c\r\n\r\n", "a", "l", "2",
       "[a]\r\nk=1\r\n; c\r\nl=2\r\n\r\n"},
      {"a new key in an empty section", "[a]\r\n\r\n[b]\r\n", "a", "k", "1", "[a]\r\nk=1\r\n\r\n[b]\r\n"},
      {"a new key goes into the first section of its name", "[a]\r\n[b]\r\n[a]\r\n", "a", "k", "1",
       "[a]\r\nk=1\r\n[b]\r\n[a]\r\n"},
      {"a new section goes to the end without an empty line", "[a]\r\nk=1\r\n", "b", "k", "1",
       "[a]\r\nk=1\r\n[b]\r\nk=1\r\n"},
      {"a missing line end is added first", "[a]\r\nk=1", "b", "k", "1", "[a]\r\nk=1\r\n[b]\r\nk=1\r\n"},
      {"also before a new key", "[a]\r\nk=1", "a", "l", "2", "[a]\r\nk=1\r\nl=2\r\n"},
      {"and behind a header", "[a]", "a", "l", "2", "[a]\r\nl=2\r\n"},
      {"and behind a header with a byte order mark", "\xEF\xBB\xBF[a]", "a", "l", "2",
       "\xEF\xBB\xBF[a]\r\nl=2\r\n"},
      {"blank rest without an end stays", "[a]\r\nk=1\r\n  ", "a", "l", "2", "[a]\r\nk=1\r\nl=2\r\n  "},
      {"LF lines stay LF lines", "[a]\nk=1\nl=2\n", "a", "k", "3", "[a]\nk=3\r\nl=2\n"},
      {"CR lines stay CR lines", "[a]\rk=1\rl=2\r", "a", "m", "3", "[a]\rk=1\rl=2\rm=3\r\n"},
      {"unknown lines stay", "x\r\n[\r\n[a]\r\nno key\r\n=v\r\n", "a", "k", "1",
       "x\r\n[\r\n[a]\r\nno key\r\n=v\r\nk=1\r\n"},
      {"lines before the first section stay", "k=0\r\n[a]\r\nk=1\r\n", "a", "k", "2",
       "k=0\r\n[a]\r\nk=2\r\n"},
      {"an empty value", "[a]\r\nk=1\r\n", "a", "k", "", "[a]\r\nk=\r\n"},
      {"line ends in a value become blanks", "[a]\r\n", "a", "k", "1\r\n2\n3", "[a]\r\nk=1  2 3\r\n"},
      {"quotes are written as given", "[a]\r\n", "a", "k", "\"1\"", "[a]\r\nk=\"1\"\r\n"},
      {"blanks around names are dropped", "", " a ", " k ", "v", "[a]\r\nk=v\r\n"},
  };
  for (const Case& c : cases) {
    IniDocument document(c.before);
    EXPECT_TRUE(document.Set(c.section, c.key, c.value)) << c.why;
    EXPECT_EQ(document.Text(), c.after) << c.why;
    EXPECT_EQ(document.TextSize(), c.after.size()) << c.why;
    EXPECT_TRUE(document.HasText(c.after)) << c.why;
    const std::string again = IniDocument(c.after).Text();
    EXPECT_EQ(again, c.after) << c.why;
    EXPECT_FALSE(document.Set(c.section, c.key, c.value)) << c.why << ": a second time";
    EXPECT_EQ(document.Text(), c.after) << c.why << ": a second time";
  }
}

TEST(IniDocument, AValueThatIsAlreadyThereChangesNothing) {
  const std::string text = "[a]\nK =  v w \nq=\"v\"\n";
  IniDocument document(text);
  EXPECT_FALSE(document.Set("a", "k", "v w"));
  EXPECT_FALSE(document.Set("a", "k", " v w "));
  EXPECT_FALSE(document.Set("a", "q", "\"v\""));
  EXPECT_EQ(document.Text(), text);
  EXPECT_TRUE(document.Set("a", "q", "v"));
}

TEST(IniDocument, NamesThatCouldNotBeFoundAgainAreNotWritten) {
  const std::vector<std::pair<const char*, const char*>> names = {{"a", ""},   {"a", "  "}, {"a", "k=l"},
                                                                  {"a", ";k"}, {"a", "[k"}, {"a", "k\r\nl"},
                                                                  {"a]", "k"}, {"a\n", "k"}};
  for (const auto& [section, key] : names) {
    IniDocument document("[a]\r\n");
    EXPECT_FALSE(document.Set(section, key, "1")) << section << ' ' << key;
    EXPECT_EQ(document.Text(), "[a]\r\n");
  }
}

TEST(IniDocument, FourEmptyLinesAtTheEndSurviveEveryWrite) {
  IniDocument document("[PATTERN]\r\nVersion=1\r\n");
  for (int i = 0; i < 4; ++i) document.AppendBlankLine();
  document.Set("PATTERN", "MergeCount", "0");
  document.Set("Server", "AvailableServer", "0");
  document.Set("PATTERN", "Version", "2");
  EXPECT_EQ(document.Text(),
            "[PATTERN]\r\nVersion=2\r\nMergeCount=0\r\n\r\n\r\n\r\n\r\n[Server]\r\nAvailableServer=0\r\n");
}

TEST(IniDocument, AnEmptyLineEndsALastLineWithoutEndFirst) {
  IniDocument document("[a]\r\nk=1");
  document.AppendBlankLine();
  EXPECT_EQ(document.Text(), "[a]\r\nk=1\r\n\r\n");
  IniDocument empty;
  empty.AppendBlankLine();
  EXPECT_EQ(empty.Text(), "\r\n");
  empty.Set("a", "k", "1");
  EXPECT_EQ(empty.Text(), "\r\n[a]\r\nk=1\r\n");
}

TEST(IniDocument, KeysAndSectionsThatWereAddedAreFound) {
  IniDocument document;
  for (int i = 0; i < 300; ++i) {
    const std::string name = std::to_string(i);
    EXPECT_TRUE(document.Set("Section" + name, "Key", name));
    EXPECT_TRUE(document.Set("Section0", "Key" + name, name));
  }
  for (int i = 0; i < 300; ++i) {
    const std::string name = std::to_string(i);
    EXPECT_EQ(document.Get("SECTION" + name, "KEY"), name);
    EXPECT_EQ(document.Get("section0", "key" + name), name);
  }
  EXPECT_EQ(IniDocument(document.Text()).Get("Section0", "Key299"), "299");
}

TEST(IniDocument, ALongSectionObeysTheRulesOfAShortOne) {
  for (int lines = 1; lines < 40; ++lines) {
    std::string text = "[a]\r\nfirst=1\r\n";
    for (int i = 0; i < lines; ++i) {
      text += i % 3 == 0 ? "\r\n" : "; comment\r\n";
    }
    text += "FIRST=2\r\nlast=3\r\nLast=4\r\n[b]\r\nother=5\r\n";
    IniDocument document(text);
    EXPECT_EQ(document.Get("a", "First"), "1") << lines;
    EXPECT_EQ(document.Get("a", "LAST"), "3") << lines;
    EXPECT_EQ(document.Get("a", "other"), "") << lines;
    EXPECT_TRUE(document.Set("a", "new", "6"));
    EXPECT_TRUE(document.Set("a", "last", "7"));
    EXPECT_TRUE(document.Set("a", "first", "8"));
    EXPECT_EQ(document.Get("a", "new"), "6") << lines;
    EXPECT_EQ(document.Get("a", "last"), "7") << lines;
    EXPECT_EQ(document.Get("a", "first"), "8") << lines;
    EXPECT_EQ(document.Get("b", "other"), "5") << lines;
    EXPECT_EQ(IniDocument(document.Text()).Get("a", "new"), "6") << lines;
  }
}

TEST(IniDocument, AKeyIsFoundWhateverTheCaseOfEachOfItsLetters) {
  const std::string letters = "abcdefghijklmnopqrstuvwxyz_0123456789@[`{";
  IniDocument document;
  document.Set("s", "x" + letters, "v");
  for (std::size_t i = 0; i < 26; ++i) {
    std::string spelled = letters;
    spelled[i] = static_cast<char>(spelled[i] - 32);
    EXPECT_EQ(document.Get("S", "X" + spelled), "v") << spelled;
  }
  EXPECT_EQ(document.Get("s", "xabcdefghijklmnopqrstuvwxyz_0123456789`[`{"), "");
  EXPECT_EQ(document.Get("s", "xabcdefghijklmnopqrstuvwxyz_0123456789@{`{"), "");
}

TEST(IniDocument, ChangingOneKeyForEverDoesNotGrowTheTextOrLoseALine) {
  std::string text = "; head\r\n[a]\r\n";
  for (int i = 0; i < 1000; ++i) text += "key" + std::to_string(i) + "=some value\r\n";
  IniDocument document(text);
  for (int i = 0; i < 50000; ++i) document.Set("a", "key500", std::to_string(i));
  const std::size_t place = text.find("key500=");
  text.replace(place, text.find("\r\n", place) - place, "key500=49999");
  EXPECT_EQ(document.Text(), text);
  EXPECT_EQ(document.Get("a", "key999"), "some value");
}

TEST(IniDocument, HostileTextsAreHeldByteForByte) {
  std::string one_line(10'000'000, 'x');
  const std::vector<std::string> texts = {
      std::string("\0[a]\0\r\nk\0=\0v\r\n\0", 16),
      one_line,
      "[a]\r\nk=" + one_line,
      one_line + "=1",
      std::string(1'000'000, '\r'),
      std::string(1'000'000, '\n'),
      std::string(1'000'000, '['),
      std::string(1'000'000, '='),
      std::string(1'000'000, ']'),
      "[" + one_line + "]\r\n",
      std::string(300, '\xFF'),
      "[a]\r\n" + std::string(1000, '"'),
  };
  for (const std::string& text : texts) {
    IniDocument document(text);
    EXPECT_TRUE(document.Text() == text) << text.substr(0, 20);
    EXPECT_TRUE(document.Set("new", "key", "value")) << text.substr(0, 20);
    EXPECT_EQ(document.Get("new", "key"), "value");
    const std::string written = document.Text();
    EXPECT_TRUE(written.starts_with(text)) << text.substr(0, 20);
    EXPECT_TRUE(written.ends_with("[new]\r\nkey=value\r\n")) << text.substr(0, 20);
  }
}

TEST(IniDocument, NulBytesBelongToTheValue) {
  const IniDocument document(std::string("[a]\r\nk=v\0w\r\n", 13));
  EXPECT_EQ(document.Get("a", "k"), std::string_view("v\0w", 3));
}

TEST(IniDocument, AFileIsNotTakenForAnother) {
  const IniDocument document("[a]\r\nk=1\r\n");
  EXPECT_TRUE(document.HasText("[a]\r\nk=1\r\n"));
  EXPECT_FALSE(document.HasText("[a]\r\nk=2\r\n"));
  EXPECT_FALSE(document.HasText("[a]\r\nk=1\r\n\r\n"));
  EXPECT_FALSE(document.HasText(""));
}

}  // namespace
}  // namespace vlmr::core
