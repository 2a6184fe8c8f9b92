#include "transfer/http_body.h"

#include <gtest/gtest.h>

#include "platform/runtime_error.h"
#include "support/memory_file_system.h"

namespace vlmr::transfer {
namespace {

class HttpBodyTest : public testing::Test {
 protected:
  /// The words of the refusal of a text that is added in two pieces; empty when it is taken.
  std::string RefusalOf(const std::string& text, std::int64_t max_bytes) {
    body.Open(files.At(R"(\server.ini)"), max_bytes);
    try {
      body.Add(text.substr(0, text.size() / 2));
      body.Add(text.substr(text.size() / 2));
    } catch (const platform::RuntimeError& error) {
      EXPECT_EQ(error.Number(), 63);
      body.Drop();
      return error.Description();
    }
    body.Commit();
    return "";
  }

  test::MemoryFileSystem files;
  HttpBody body{files};
};

TEST_F(HttpBodyTest, OfALimitedTextMayHaveALineForEverySixteenBytesOfItsLimit) {
  for (const char* end : {"\n", "\r", "\r\n"}) {
    std::string lines;
    for (int n = 0; n < 100; ++n) lines += end;
    EXPECT_EQ(RefusalOf(lines, 1600), "") << end;
    EXPECT_EQ(files.Text(R"(\server.ini)"), lines);
    EXPECT_EQ(RefusalOf(lines + end, 1600), "More than 100 lines") << end;
    EXPECT_EQ(files.Text(R"(\server.ini)"), lines) << "the old file stays";
    EXPECT_EQ(RefusalOf(lines, 1600), "") << "lines are counted anew for each body";
  }
}

TEST_F(HttpBodyTest, WithoutALimitMayHaveAnyNumberOfLines) {
  EXPECT_EQ(RefusalOf(std::string(100'000, '\n'), 0), "");
}

}  // namespace
}  // namespace vlmr::transfer
