#include "index/service_fetch.h"

#include <gtest/gtest.h>

#include "index/index_world.h"

namespace vlmr::index {
namespace {

using test::IndexWorld;

struct ServiceFetchTest : testing::Test, IndexWorld {};

TEST_F(ServiceFetchTest, FileOfTheIndexIsFetchedFromTheMainSource) {
  Offer("Product/a/b.zip", "bytes");
  EXPECT_TRUE(fetch.Fetch("Product/a/b.zip", At(R"(\TempDownload\ActiveUpdate\Product\a\b.zip)")));
  EXPECT_EQ(files.Text(R"(\TempDownload\ActiveUpdate\Product\a\b.zip)"), "bytes");
  ASSERT_EQ(downloader.requests.size(), 1U);
  EXPECT_EQ(downloader.requests[0].protocol, transfer::kProtocolHttp);
}

TEST_F(ServiceFetchTest, BaseAndPathMeetInExactlyOneSlash) {
  for (const char* base : {"http://service/au", "http://service/au/"}) {
    SetSetting("SOURCES", "ActiveUpdateMaster", base);
    EXPECT_EQ(fetch.AddressOf("server.ini"), "http://service/au/server.ini");
    fetch.Fetch("server.ini", paths.FreshIndex());
  }
  EXPECT_EQ(downloader.RequestsOf("http://service/au/server.ini"), 2);
}

TEST_F(ServiceFetchTest, AnotherBaseIsUsedWhenItIsGiven) {
  downloader.Serve("http://eps/au/server.ini", "index");
  EXPECT_TRUE(fetch.FetchFrom("http://eps/au", "server.ini", paths.FreshIndex()));
  EXPECT_EQ(files.Text(R"(\TempDownload\ActiveUpdate\server.ini)"), "index");
}

TEST_F(ServiceFetchTest, EmptyPathIsNeverRequestedAndSaysNothing) {
  EXPECT_FALSE(fetch.Fetch("", paths.StagingRoot()));
  EXPECT_TRUE(downloader.requests.empty());
  EXPECT_TRUE(LogMessages().empty());
}

TEST_F(ServiceFetchTest, UnsafePathsAreRefusedWithOneLineAndNoRequest) {
  for (const char* path : {"../outside", "a/../../b", "/etc/file", R"(\\host\share)", "C:/windows/x",
                           R"(a\..\..\b)", "a//b", "folder/"}) {
    ClearLog();
    EXPECT_FALSE(fetch.Fetch(path, paths.StagingRoot() + "x")) << path;
    const std::string line = "ServiceFetch: Refused path [" + std::string(path) + "]: ";
    EXPECT_EQ(LogMessages(line).size(), 1U) << path;
    EXPECT_GT(LogMessages().at(0).size(), line.size()) << path;
  }
  EXPECT_TRUE(downloader.requests.empty());
}

TEST_F(ServiceFetchTest, RefusedPathLeavesAnExistingLocalFileAlone) {
  files.Put(R"(\ActiveUpdate\engine.zip)", "old");
  EXPECT_FALSE(fetch.Fetch("../engine.zip", At(R"(\ActiveUpdate\engine.zip)")));
  EXPECT_EQ(files.Text(R"(\ActiveUpdate\engine.zip)"), "old");
}

TEST_F(ServiceFetchTest, PublishingMakesTheMirrorsMissingFoldersSilently) {
  files.Put(R"(\TempDownload\ActiveUpdate\Product\a\b\f.zip)", "new");
  fetch.Publish("Product/a/b/f.zip");
  EXPECT_EQ(files.Text(R"(\ActiveUpdate\Product\a\b\f.zip)"), "new");
  EXPECT_FALSE(files.Has(R"(\TempDownload\ActiveUpdate\Product\a\b\f.zip)"));
  EXPECT_EQ(LogMessages().size(), LogMessages("DeplaceFile: ").size());
}

TEST_F(ServiceFetchTest, PublishingBelowAFileSaysThatTheMoveFailed) {
  files.Put(R"(\ActiveUpdate\Product)", "a file");
  files.Put(R"(\TempDownload\ActiveUpdate\Product\f.zip)", "new");
  fetch.Publish("Product/f.zip");
  EXPECT_TRUE(Logged("DeplaceFile: lngRetVal=0"));
  EXPECT_TRUE(files.Has(R"(\TempDownload\ActiveUpdate\Product\f.zip)"));
}

TEST_F(ServiceFetchTest, PublishingAnUnsafePathMovesNothing) {
  files.Put(R"(\VLMR.key)", "x");
  fetch.Publish("../../VLMR.key");
  EXPECT_TRUE(files.Has(R"(\VLMR.key)"));
  EXPECT_TRUE(LogMessages("DeplaceFile").empty());
  EXPECT_TRUE(Logged("ServiceFetch: Refused path [../../VLMR.key]: it leads out of its folder"));
}

TEST_F(ServiceFetchTest, MirroredFileIsFoundInAnyCaseAndNeverOutsideTheTree) {
  files.Put(R"(\ActiveUpdate\Engine\NT.ZIP)", "x");
  files.Put(R"(\VLMR.key)", "x");
  EXPECT_EQ(fetch.FindMirrored("Engine/nt.zip"), "NT.ZIP");
  EXPECT_EQ(fetch.FindMirrored("Engine/other.zip"), "");
  EXPECT_EQ(fetch.FindMirrored("Engine"), "") << "a folder is no file";
  EXPECT_EQ(fetch.FindMirrored(""), "");
  EXPECT_EQ(fetch.FindMirrored("../VLMR.key"), "");
}

}  // namespace
}  // namespace vlmr::index
