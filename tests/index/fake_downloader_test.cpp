// The stand-in of the download operation, which other tests lean on.
#include "support/fake_downloader.h"

#include <gtest/gtest.h>

namespace vlmr::test {
namespace {

struct FakeDownloaderTest : testing::Test {
  bool Download(const std::string& url, std::string local_file) {
    return downloader.DownloadFiles(transfer::kProtocolHttp, url, local_file);
  }
  MemoryFileSystem files{"/app"};
  FakeDownloader downloader{files};
};

TEST_F(FakeDownloaderTest, ServedAddressArrivesUnderTheRewrittenNameInNewFolders) {
  downloader.Serve("http://s/a", "bytes");
  std::string local_file = R"(/app\Temp\\a\b.zip)";
  EXPECT_TRUE(downloader.DownloadFiles(transfer::kProtocolHttp, "http://s/a", local_file));
  EXPECT_EQ(local_file, R"(/app\Temp\a\b.zip)");
  EXPECT_EQ(files.Text(R"(\Temp\a\b.zip)"), "bytes");
}

TEST_F(FakeDownloaderTest, EveryOtherAddressFailsAndTheOldFileIsGone) {
  files.Put(R"(\a.zip)", "old");
  EXPECT_FALSE(Download("http://s/a", R"(/app\a.zip)"));
  EXPECT_FALSE(files.Has(R"(\a.zip)"));
  downloader.Serve("http://s/a", "bytes");
  downloader.Fail("http://s/a");
  EXPECT_FALSE(Download("http://s/a", R"(/app\a.zip)"));
  EXPECT_EQ(downloader.RequestsOf("http://s/a"), 2);
}

TEST_F(FakeDownloaderTest, TransferringNothingSucceedsWithoutAFile) {
  downloader.transfers_nothing = true;
  EXPECT_TRUE(Download("http://s/a", R"(/app\a.zip)"));
  EXPECT_FALSE(files.Has(R"(\a.zip)"));
}

}  // namespace
}  // namespace vlmr::test
