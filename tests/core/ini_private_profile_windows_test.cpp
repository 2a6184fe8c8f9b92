// The INI engine beside the system's own private-profile functions, on the same files and with the same
// calls. Differences that are accepted stand in the tables, with the system's answer; docs/formats.md gives
// the reasons.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/ini_store.h"
#include "core/number.h"
#include "core/text.h"
#include "platform/native.h"
#include "support/fake_clock.h"
#include "support/fake_event_loop.h"
#include "support/scoped_temp_dir.h"

namespace vlmr::core {
namespace {

/// A way in which the engine deliberately answers otherwise; docs/formats.md gives the reason for each.
enum class Difference {
  kNone,
  kCommentedKey,   ///< the system finds ";key" when it is asked for by that name
  kBareLine,       ///< the system takes a line without "=" for a key without a value
  kLastBracket,    ///< the system takes a section's name to the last "]" of its line
  kNoSectionName,  ///< keys before the first section stand in a section without a name, "[]" is none
  kNoKeyName,      ///< the system finds what stands behind a "=" that begins a line
  kSectionRest,    ///< the system drops what stands behind a section's "]" when it writes
};

class PrivateProfileTest : public testing::Test {
 protected:
  /// A file of its own for each case: the system remembers what it read from one.
  std::string NewFile(std::string_view text) {
    const std::string below = "\\case" + IntegerText(++count_) + ".ini";
    folder_.Put(below, text);
    return folder_.At(below);
  }
  std::string Text(const std::string& path) const {
    return folder_.Text(path.substr(folder_.Folder().size()));
  }

  static std::string TheirRead(const std::string& section, const std::string& key, const std::string& file) {
    std::array<char, 255> buffer = {};
    GetPrivateProfileStringA(section.c_str(), key.c_str(), "", buffer.data(), buffer.size(), file.c_str());
    return buffer.data();
  }
  static bool TheirWrite(const std::string& section, const std::string& key, const std::string& value,
                         const std::string& file) {
    return WritePrivateProfileStringA(section.c_str(), key.c_str(), value.c_str(), file.c_str()) != 0;
  }

  /// The lines that mean something, without the blanks that do not: what both must leave the same.
  static std::vector<std::string> Meaning(std::string_view text) {
    std::vector<std::string> meaning;
    for (const std::string_view line : Lines(text)) {
      const std::string_view trimmed = TrimBlanksAndTabs(line);
      const auto equals = trimmed.find('=');
      if (trimmed.empty()) continue;
      if (trimmed.starts_with(';') || trimmed.starts_with('[') || equals == std::string_view::npos) {
        meaning.emplace_back(trimmed);
      } else {
        meaning.push_back(std::string(TrimBlanksAndTabs(trimmed.substr(0, equals))) + "=" +
                          std::string(TrimBlanksAndTabs(trimmed.substr(equals + 1))));
      }
    }
    return meaning;
  }

  test::ScopedTempDir folder_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem(folder_.Folder());
  test::FakeClock clock_;
  test::FakeEventLoop loop_{clock_};
  IniStore store_{*files_, loop_, clock_};
  int count_ = 0;
};

struct ReadCase {
  std::string_view text;
  const char* section;
  const char* key;
  Difference difference = Difference::kNone;
  const char* theirs = "";  ///< the system's answer where it differs
};

const std::string kLong(300, 'x');
const std::string kLongLine = "[a]\r\nk=" + kLong + "\r\n";
const std::string k254Line = "[a]\r\nk=" + std::string(254, 'y') + "\r\n";
const std::string k255Line = "[a]\r\nk=" + std::string(255, 'y') + "\r\n";
const std::string kManyKeys = [] {
  std::string text = "[many]\r\n";
  for (int i = 0; i < 500; ++i) text += "key" + IntegerText(i) + "=value" + IntegerText(i) + "\r\n";
  return text;
}();

/// A file like those that the program works on.
constexpr std::string_view kIndex =
    "[PATTERN]\r\nVersion=1.101\r\nPath=Pattern/vsapi.zip,1000,0\r\n\r\n; engines\r\n[ENGINE]\r\n"
    "E.1= Engine/vsapi32.zip , 500 \r\nVersion=2\r\n[PATTERN]\r\nVersion=9\r\nLate=1\r\n";

const ReadCase kReads[] = {
    // ends of lines and files
    {"[a]\r\nk=v\r\n", "a", "k"},
    {"[a]\r\nk=v", "a", "k"},
    {"[a]\nk=v\n", "a", "k"},
    {"[a]\nk=v", "a", "k"},
    {"[a]\r\n\r\n\r\nk=v\r\n", "a", "k"},
    {"\r\n\r\n[a]\r\nk=v\r\n", "a", "k"},
    {"[a]\n\rk=v\r\n", "a", "k"},
    {"", "a", "k"},
    {"\r\n", "a", "k"},
    {"[a]", "a", "k"},
    {"[a]\r\n", "a", "k"},
    {"k", "a", "k"},
    // case
    {"[a]\r\nk=v\r\n", "A", "K"},
    {"[A]\r\nK=v\r\n", "a", "k"},
    {"[Section]\r\nKey=v\r\n", "sECTION", "kEY"},
    {"[PROXY]\r\nENABLE=1\r\n", "Proxy", "Enable"},
    {"[a]\r\nK=V\r\n", "a", "k"},
    {"[\xC4]\r\n\xE4=\xF6\r\n", "\xC4", "\xE4"},
    // blanks and tabs
    {"[a]\r\nk = v\r\n", "a", "k"},
    {"[a]\r\n  k  =  v  \r\n", "a", "k"},
    {"[a]\r\n\tk\t=\tv\t\r\n", "a", "k"},
    {"[a]\r\nk=v w\r\n", "a", "k"},
    {"[a]\r\nk=v  w\t x\r\n", "a", "k"},
    {"[a]\r\na b=v\r\n", "a", "a b"},
    {"[ a ]\r\nk=v\r\n", "a", "k"},
    {"[a b]\r\nk=v\r\n", "a b", "k"},
    {"  [a]\r\nk=v\r\n", "a", "k"},
    {"\t[a]\t\r\nk=v\r\n", "a", "k"},
    {"[a]\r\nk=v\r\n", " a ", "k"},
    {"[a]\r\nk=v\r\n", "a", " k "},
    {"[a]\r\nk=v\r\n", "a ", "k "},
    {"[a]\r\nk=   \r\n", "a", "k"},
    {"[a]\r\n   \r\nk=v\r\n", "a", "k"},
    // quotes
    {"[a]\r\nk=\"v\"\r\n", "a", "k"},
    {"[a]\r\nk='v'\r\n", "a", "k"},
    {"[a]\r\nk=\" v \"\r\n", "a", "k"},
    {"[a]\r\nk=' v '\r\n", "a", "k"},
    {"[a]\r\nk = \"v\" \r\n", "a", "k"},
    {"[a]\r\nk=\"\"v\"\"\r\n", "a", "k"},
    {"[a]\r\nk='\"v\"'\r\n", "a", "k"},
    {"[a]\r\nk=\"v'\r\n", "a", "k"},
    {"[a]\r\nk='v\"\r\n", "a", "k"},
    {"[a]\r\nk=\"v\r\n", "a", "k"},
    {"[a]\r\nk=v\"\r\n", "a", "k"},
    {"[a]\r\nk=\"\r\n", "a", "k"},
    {"[a]\r\nk=\"\"\r\n", "a", "k"},
    {"[a]\r\nk=''\r\n", "a", "k"},
    {"[a]\r\nk=a\"b\"c\r\n", "a", "k"},
    {"[a]\r\nk=\"a\" b\r\n", "a", "k"},
    {"[a]\r\n\"k\"=v\r\n", "a", "k"},
    {"[a]\r\n\"k\"=v\r\n", "a", "\"k\""},
    // comments
    {"[a]\r\n;k=v\r\n", "a", "k"},
    {"[a]\r\n; k=v\r\nk=w\r\n", "a", "k"},
    {"[a]\r\n  ; k=v\r\nk=w\r\n", "a", "k"},
    {"[a]\r\nk=v ; w\r\n", "a", "k"},
    {"[a]\r\nk=;\r\n", "a", "k"},
    {"[a]\r\nk;l=v\r\n", "a", "k;l"},
    {"; first\r\n[a]\r\nk=v\r\n", "a", "k"},
    {";[b]\r\n[a]\r\nk=v\r\n", "b", "k"},
    {"[a]\r\nk=1\r\n;[b]\r\nl=2\r\n", "a", "l"},
    {"[a]\r\n#k=v\r\n", "a", "#k"},
    {"[a]\r\n#k=v\r\n", "a", "k"},
    {"[a]\r\n//k=v\r\n", "a", "//k"},
    {"[a]\r\n;k=v\r\n", "a", ";k", Difference::kCommentedKey, "v"},
    // duplicates
    {"[a]\r\nk=1\r\nk=2\r\n", "a", "k"},
    {"[a]\r\nk=1\r\nK=2\r\n", "a", "K"},
    {"[a]\r\nk=\r\nk=2\r\n", "a", "k"},
    {"[a]\r\nk\r\nk=2\r\n", "a", "k", Difference::kBareLine, ""},
    {"[a]\r\nk=1\r\n[b]\r\nk=2\r\n[a]\r\nk=3\r\n", "a", "k"},
    {"[a]\r\nk=1\r\n[A]\r\nl=2\r\n", "a", "l"},
    {"[a]\r\n[a]\r\nk=2\r\n", "a", "k"},
    {"[a]\r\n;k=0\r\nk=1\r\n", "a", "k"},
    // what is missing
    {"[a]\r\nk=v\r\n", "b", "k"},
    {"[a]\r\nk=v\r\n", "a", "l"},
    {"[a]\r\nk=v\r\n[b]\r\n", "b", "k"},
    {"[a]\r\n[b]\r\nk=v\r\n", "a", "k"},
    {"[a]\r\nk=v\r\n", "a", "kk"},
    {"[a]\r\nkk=v\r\n", "a", "k"},
    {"[ab]\r\nk=v\r\n", "a", "k"},
    {"[a]\r\nk\r\n", "a", "k"},
    {"[a]\r\nk=\r\n", "a", "k"},
    {"k=v\r\n[a]\r\n", "a", "k"},
    // odd sections
    {"[a\r\nk=v\r\n", "a", "k"},
    {"[a]\r\n[b\r\nk=v\r\n", "a", "k"},
    {"[a] rest\r\nk=v\r\n", "a", "k"},
    {"[a];rest\r\nk=v\r\n", "a", "k"},
    {"[a] rest ]\r\nk=v\r\n", "a", "k", Difference::kLastBracket, ""},
    {"[[a]\r\nk=v\r\n", "[a", "k"},
    {"[a]b]\r\nk=v\r\n", "a", "k", Difference::kLastBracket, ""},
    {"a]\r\nk=v\r\n", "a", "k"},
    {"x[a]\r\nk=v\r\n", "a", "k"},
    {"[a]k=v\r\n", "a", "k"},
    {"k=v\r\n", "", "k", Difference::kNoSectionName, "v"},
    {"[]\r\nk=v\r\n", "", "k", Difference::kNoSectionName, ""},
    // odd keys
    {"[a]\r\nk=v=w\r\n", "a", "k"},
    {"[a]\r\nk==v\r\n", "a", "k"},
    {"[a]\r\n=v\r\n", "a", "", Difference::kNoKeyName, "v"},
    {"[a]\r\nk.1=v\r\n", "a", "k.1"},
    {"[a]\r\nk[1]=v\r\n", "a", "k[1]"},
    {"[a]\r\n[k]=v\r\n", "a", "[k]"},
    {"[a]\r\nk\\l=v\r\n", "a", "k\\l"},
    {"[a]\r\nk:v\r\n", "a", "k"},
    {"[a]\r\n%k%=%v%\r\n", "a", "%k%"},
    // lengths
    {kLongLine, "a", "k"},
    {k254Line, "a", "k"},
    {k255Line, "a", "k"},
    {kManyKeys, "many", "key0"},
    {kManyKeys, "many", "key255"},
    {kManyKeys, "many", "key499"},
    {kManyKeys, "many", "KEY17"},
    {kManyKeys, "many", "key500"},
    // marks at the start
    {"\xEF\xBB\xBF[a]\r\nk=v\r\n", "a", "k"},
    // files of the program
    {kIndex, "PATTERN", "Version"},
    {kIndex, "pattern", "path"},
    {kIndex, "PATTERN", "Late"},
    {kIndex, "ENGINE", "E.1"},
    {kIndex, "Engine", "version"},
    {kIndex, "ENGINE", "Path"},
    {"[RAS]\r\nConnection=2\r\nDisconnect=0\r\n", "RAS", "Connection"},
    {"[Log]\r\nFinished=\r\nResult=\r\n", "log", "finished"},
    {"[SOURCES]\r\nActiveUpdateMaster=http://mirror.example/activeupdate?a=b\r\n", "Sources",
     "ActiveUpdateMaster"},
    {"[Proxy]\r\nPassword=a;b\"c\r\n", "proxy", "password"},
};

TEST_F(PrivateProfileTest, ReadsAsTheSystemDoesApartFromTheAcceptedDifferences) {
  int number = 0;
  for (const ReadCase& c : kReads) {
    SCOPED_TRACE("read " + IntegerText(number++) + ": " + std::string(c.text.substr(0, 80)) + " [" +
                 c.section + "] " + c.key);
    const std::string file = NewFile(c.text);
    const std::string theirs = TheirRead(c.section, c.key, file);
    const std::string ours = store_.ReadIniValue(c.section, c.key, file);
    if (c.difference == Difference::kNone) {
      EXPECT_EQ(ours, theirs);
    } else {
      EXPECT_EQ(theirs, c.theirs);
      EXPECT_NE(ours, theirs) << "no difference any more";
    }
  }
}

TEST_F(PrivateProfileTest, AMissingFileReadsAsEmptyForBoth) {
  const std::string file = folder_.At("\\absent.ini");
  EXPECT_EQ(TheirRead("a", "k", file), "");
  EXPECT_EQ(store_.ReadIniValue("a", "k", file), "");
}

struct WriteCase {
  std::string_view text;
  const char* section;
  const char* key;
  std::string_view value;
  Difference difference = Difference::kNone;
};

const WriteCase kWrites[] = {
    // a new key
    {"[a]\r\nk=v\r\n", "a", "l", "w"},
    {"[a]\r\nk=v\r\n[b]\r\nm=x\r\n", "a", "l", "w"},
    {"[a]\r\nk=v\r\n\r\n\r\n[b]\r\nm=x\r\n", "a", "l", "w"},
    {"[a]\r\nk=v", "a", "l", "w"},
    {"[a]\r\n[b]\r\n", "a", "k", "v"},
    {"[a]\r\n; remark\r\n[b]\r\n", "a", "k", "v"},
    {"[a]\r\nk=v\r\n; remark\r\n", "a", "l", "w"},
    {"[a]\r\nk=v\r\nno key\r\n", "a", "l", "w"},
    {"[a]\r\n;k=v\r\n", "a", "k", "w"},
    {"[a]\nk=v\n", "a", "l", "w"},
    {"[A]\r\nk=v\r\n", "a", "l", "w"},
    {"[a]\r\nk=v\r\n[b]\r\n[a]\r\nl=x\r\n", "a", "l", "w"},
    // a new section
    {"", "a", "k", "v"},
    {"[a]\r\nk=v\r\n", "b", "k", "w"},
    {"[a]\r\nk=v", "b", "k", "w"},
    {"[a]\r\nk=v\r\n\r\n", "b", "k", "w"},
    {"; remark\r\n", "a", "k", "v"},
    {"k=v\r\n", "a", "k", "w"},
    {"[a\r\nk=v\r\n", "a", "k", "w"},
    {"[a]\r\nk=v\r\n", "B b", "K k", "w"},
    // another value
    {"[a]\r\nk=v\r\n", "a", "k", "w"},
    {"[a]\r\nk=v\r\nl=x\r\n", "a", "k", "w"},
    {"[a]\r\nk = v \r\n", "a", "k", "w"},
    {"[a]\r\nKey=v\r\n", "a", "KEY", "w"},
    {"[a]\r\nk=v\r\nk=x\r\n", "a", "k", "w"},
    {"[a]\r\nk=v\r\n[b]\r\nk=x\r\n", "b", "k", "w"},
    {"[a]\r\nk=v\r\n[b]\r\n[a]\r\nk=x\r\n", "a", "k", "w"},
    {"; top\r\n\r\n[a]\r\n; one\r\nk=v\r\n; two\r\n\r\n[b]\r\nm=x\r\n", "a", "k", "w"},
    {"[a]\nk=v\nl=x\n", "a", "k", "w"},
    {"[a]\r\nk=\r\n", "a", "k", "w"},
    {"[a]\r\nk\r\n", "a", "k", "w", Difference::kBareLine},
    {"[a]\r\nk=\"v\"\r\n", "a", "k", "w"},
    {"[a] rest\r\nk=v\r\n", "a", "k", "w", Difference::kSectionRest},
    {"[a]\r\nk=v\r\nnonsense\r\nl=x", "a", "k", "w"},
    {kManyKeys, "many", "key250", "w"},
    {kManyKeys, "MANY", "key600", "w"},
    {kIndex, "PATTERN", "Version", "1.102"},
    {kIndex, "Engine", "E.2", "Engine/other.zip,1"},
    {kIndex, "Server", "AvailableServer", "0"},
    // the values themselves
    {"[a]\r\nk=v\r\n", "a", "k", ""},
    {"[a]\r\n", "a", "k", ""},
    {"[a]\r\nk=v\r\n", "a", "k", "v"},
    {"[a]\r\nk=v\r\n", "a", "k", "V"},
    {"[a]\r\nk=v\r\n", "a", "k", "  w"},
    {"[a]\r\nk=v\r\n", "a", "k", "w  "},
    {"[a]\r\nk=v\r\n", "a", "k", "\"w\""},
    {"[a]\r\nk=v\r\n", "a", "k", "'w'"},
    {"[a]\r\nk=v\r\n", "a", "k", "\" w \""},
    {"[a]\r\nk=v\r\n", "a", "k", "w;x"},
    {"[a]\r\nk=v\r\n", "a", "k", ";"},
    {"[a]\r\nk=v\r\n", "a", "k", "w=x"},
    {"[a]\r\nk=v\r\n", "a", "k", "[b]"},
    {"[a]\r\nk=v\r\n", "a", "k", "C:\\Program Files (x86)\\x"},
    {"[a]\r\nk=v\r\n", "a", "k", "\xC4\xE4\xF6"},
    {"[a]\r\nk=v\r\n", "a", "k", kLong},
    // names with blanks around
    {"[a]\r\nk=v\r\n", " a ", "k", "w"},
    {"[a]\r\nk=v\r\n", "a", " k ", "w"},
};

TEST_F(PrivateProfileTest, WritesMeanTheSameToBothApartFromTheAcceptedDifferences) {
  int number = 0;
  for (const WriteCase& c : kWrites) {
    SCOPED_TRACE("write " + IntegerText(number++) + ": " + std::string(c.text.substr(0, 80)) + " [" +
                 c.section + "] " + c.key + "=" + std::string(c.value.substr(0, 40)));
    const std::string ours = NewFile(c.text);
    const std::string theirs = NewFile(c.text);
    EXPECT_TRUE(TheirWrite(c.section, c.key, std::string(c.value), theirs));
    EXPECT_TRUE(store_.WriteIniValue(c.section, c.key, c.value, ours));
    // Copies under new names, so that neither remembers what it wrote.
    const std::string from_us = NewFile(Text(ours));
    const std::string from_them = NewFile(Text(theirs));
    if (c.difference != Difference::kNone) {
      EXPECT_NE(Meaning(Text(ours)), Meaning(Text(theirs))) << "no difference any more";
      EXPECT_EQ(store_.ReadIniValue(c.section, c.key, from_us), std::string(c.value));
      EXPECT_EQ(TheirRead(c.section, c.key, from_them), std::string(c.value));
      continue;
    }
    EXPECT_EQ(Meaning(Text(ours)), Meaning(Text(theirs)));
    EXPECT_EQ(TheirRead(c.section, c.key, from_us), TheirRead(c.section, c.key, from_them));
    EXPECT_EQ(store_.ReadIniValue(c.section, c.key, from_us),
              store_.ReadIniValue(c.section, c.key, from_them));
  }
}

TEST_F(PrivateProfileTest, AWriteMakesTheFileButNotItsFolderForBoth) {
  EXPECT_TRUE(TheirWrite("a", "k", "v", folder_.At("\\theirs.ini")));
  EXPECT_TRUE(store_.WriteIniValue("a", "k", "v", folder_.At("\\ours.ini")));
  EXPECT_EQ(folder_.Text("\\ours.ini"), folder_.Text("\\theirs.ini"));
  EXPECT_FALSE(TheirWrite("a", "k", "v", folder_.At("\\absent\\theirs.ini")));
  EXPECT_FALSE(store_.WriteIniValue("a", "k", "v", folder_.At("\\absent\\ours.ini")));
}

TEST_F(PrivateProfileTest, EachSeesWhatTheOtherWrote) {
  const std::string file = NewFile("[RAS]\r\nConnection=2\r\n");
  EXPECT_EQ(store_.ReadIniValue("RAS", "Connection", file), "2");
  EXPECT_TRUE(TheirWrite("RAS", "Connection", "1", file));
  EXPECT_EQ(store_.ReadIniValue("RAS", "Connection", file), "1");
  EXPECT_TRUE(store_.WriteIniValue("RAS", "Disconnect", "1", file));
  EXPECT_EQ(TheirRead("RAS", "Disconnect", NewFile(Text(file))), "1");
}

TEST_F(PrivateProfileTest, AtLeast150FilesAndCallsAreCompared) {
  EXPECT_GE(std::size(kReads) + std::size(kWrites), 150U);
}

}  // namespace
}  // namespace vlmr::core
