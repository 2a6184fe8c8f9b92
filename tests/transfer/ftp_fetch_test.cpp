#include "transfer/ftp_fetch.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/fake_ftp_client.h"

namespace vlmr::transfer {
namespace {

class FtpFetchTest : public testing::Test {
 protected:
  test::MemoryFileSystem files{"/app"};
  test::FakeFtpClient client{files};
};

TEST_F(FtpFetchTest, FetchesIntoAFolderUnderTheSameName) {
  client.remote["tsc12345.zip"] = "bytes";
  EXPECT_TRUE(FetchByName(client, "tsc12345.zip", files.At(R"(\TempDownload)")).Ok());
  EXPECT_EQ(files.Text(R"(\TempDownload\tsc12345.zip)"), "bytes");
}

TEST_F(FtpFetchTest, RefusesNamesThatLeaveTheFolderBeforeTheClientSeesThem) {
  for (const std::string name :
       {"", "..", "../a.zip", "a/b.zip", "\\a.zip", "C:a.zip", "NUL", "a.zip\r\nDELE b", "a.zip."}) {
    const FtpResult result = FetchByName(client, name, files.At(R"(\TempDownload)"));
    EXPECT_EQ(result.number, 5) << name;
    EXPECT_TRUE(result.description.starts_with("Refused [")) << result.description;
  }
  EXPECT_TRUE(client.calls.empty());
}

TEST_F(FtpFetchTest, TellsWhyANameIsRefusedOnOneLine) {
  EXPECT_EQ(RefusalOfName("tsc12345.zip"), "");
  EXPECT_TRUE(RefusalOfName("a\r\nb").starts_with("[a  b] "));
  EXPECT_LT(RefusalOfName(std::string(100'000, 'x')).size(), 300U);
}

}  // namespace
}  // namespace vlmr::transfer
