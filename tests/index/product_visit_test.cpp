// One product in one language.
#include <gtest/gtest.h>

#include "index/index_world.h"

namespace vlmr::index {
namespace {

using test::IndexWorld;
using Messages = std::vector<std::string>;

const std::string kKey = "Info_22_1_05058_1";

/// The index section of the product, with one line changed or added by `more`.
std::string Service(const std::string& version, const std::string& update_path, const std::string& path) {
  return "[All_Product]\r\nMaxProductID=30\r\nProduct.22=22,5.58\r\n[" + kKey + "]\r\nVersion=" + version +
         "\r\nUpdate_Path=" + update_path + "\r\nPath=" + path + "\r\nEngineType=E1\r\nPatternType=P1\r\n";
}

struct ProductVisitTest : testing::Test, IndexWorld {
  void Visit(std::int16_t number = 22, const std::string& language = "1") {
    products.VerifyProductByIndex(number, language);
  }
  std::string Recorded(std::string_view key) const { return StoredValue(kKey, key); }
  bool Has(std::string_view key) const { return core::IniDocument(StoredText()).HasKey(kKey, key); }
};

TEST_F(ProductVisitTest, NewProductIsMirroredAndItsLogIsWhole) {
  Fresh(Service("2", "Product/p22/update.zip,6", "Product/p22/full.zip,4"));
  Offer("Product/p22/update.zip", "update");
  Offer("Product/p22/full.zip", "full");
  Visit();
  EXPECT_EQ(
      LogMessages(),
      (Messages{
          "VerifyProductByIndex: ------------------------------------",
          "VerifyProductByIndex: Verify product number [22] [Lang: 1]",
          "VerifyProductByIndex: Analyze [22,5.58]",
          "VerifyProductByIndex: String On ActiveUpdate=22,5.58",
          "VerifyProductByIndex: String Stored =",
          "VerifyProductByIndex, View Minimal version : [5.58]",
          "VerifyProductByIndex: Version MinimalVersionTemp =[05058]",
          "VerifyProductByIndex: MyBigKey =Info_22_1_05058_1",
          "VerifyProductByIndex: STORE=[Info_22_1_05058_1][Update_Path]=[]",
          "VerifyProductByIndex: Update_Path size=[6]",
          "VerifyProductByIndex: Path size=[4]",
          "VerifyProductByIndex: ----------------------------------------",
          "VerifyProductByIndex: Version On ActiveUpdate=2",
          "VerifyProductByIndex: Path On ActiveUpdate=Product/p22/full.zip,4",
          "VerifyProductByIndex: Update_Path On ActiveUpdate=Product/p22/update.zip,6",
          "VerifyProductByIndex: Version Stored=",
          "VerifyProductByIndex: Path Stored =",
          "VerifyProductByIndex: Update_Path Stored =",
          "VerifyProductByIndex: ----------------------------------------",
          "VerifyProductByIndex: Write [All_Product][Product.22][22,5.58]",
          R"(VerifyProductByIndex: /app\ActiveUpdate\Product\p22\update.zip is not in the Product folder, download it)",
          R"(VerifyProductByIndex: /app\ActiveUpdate\Product\p22\full.zip is not in the Product folder, download it)",
          "VerifyProductByIndex: [2]>[]",
          "VerifyProductByIndex: DoNotDownload=[False]",
          "VerifyProductByIndex: DownloadNow=[True]",
          "VerifyProductByIndex: New Product found on ActiveUpdate",
          R"(DeplaceFile: /app\TempDownload\ActiveUpdate\Product\p22\update.zip=>)",
          R"(DeplaceFile: Move /app\TempDownload\ActiveUpdate\Product\p22\update.zip=> to /app\ActiveUpdate\Product\p22\update.zip)",
          "DeplaceFile: lngRetVal=1",
          "VerifyProductByIndex:DoNotDownload1=[False]",
          "VerifyProductByIndex: New Product found on ActiveUpdate",
          R"(DeplaceFile: /app\TempDownload\ActiveUpdate\Product\p22\full.zip=>)",
          R"(DeplaceFile: Move /app\TempDownload\ActiveUpdate\Product\p22\full.zip=> to /app\ActiveUpdate\Product\p22\full.zip)",
          "DeplaceFile: lngRetVal=1",
      }));
  EXPECT_EQ(StoredText(),
            "[All_Product]\r\nProduct.22=22,5.58\r\nMaxProductID=30\r\n"
            "[Info_22_1_05058_1]\r\nUpdate_Path=Product/p22/update.zip,6\r\nPath=Product/p22/full.zip,4\r\n"
            "Version=2\r\nEngineType=E1\r\nPatternType=P1\r\n");
  EXPECT_EQ(files.Text(R"(\ActiveUpdate\Product\p22\update.zip)"), "update");
  EXPECT_EQ(files.Text(R"(\ActiveUpdate\Product\p22\full.zip)"), "full");
  EXPECT_EQ(state.ProductUpdates(),
            "[1] New Product downloaded Product/p22/update.zip\r\n"
            "[2] New Product downloaded Product/p22/full.zip\r\n");
  EXPECT_EQ(downloader.Urls(),
            (Messages{"http://service/au/Product/p22/update.zip", "http://service/au/Product/p22/full.zip"}));
}

TEST_F(ProductVisitTest, KnownProductIsSkippedAndItsDefaultsAreWritten) {
  const std::string index = Service("2", "Product/u.zip,6", "Product/f.zip,4");
  Fresh(index);
  Stored(index);
  files.Put(R"(\ActiveUpdate\Product\u.zip)", "update");
  files.Put(R"(\ActiveUpdate\Product\f.zip)", "full");
  files.files_written.clear();
  Visit();
  const Messages all = LogMessages();
  const Messages tail(all.begin() + 19, all.end());
  EXPECT_EQ(tail, (Messages{
                      "VerifyProductByIndex: Write [All_Product][Product.22][22,5.58]",
                      "VerifyProductByIndex: [2]=<[2]",
                      "VerifyProductByIndex: DoNotDownload=[False]",
                      "VerifyProductByIndex: DownloadNow=[False]",
                      "VerifyProductByIndex: downloading Skipped...Write default ini..",
                      "VerifyProductByIndex: sVal=[Product/u.zip,6]",
                      "VerifyProductByIndex: Write [Info_22_1_05058_1][Update_Path][Product/u.zip,6]",
                      "VerifyProductByIndex:DoNotDownload1=[False]",
                      "VerifyProductByIndex: downloading Skipped...Write default ini..",
                      "VerifyProductByIndex: sVal=[Product/f.zip,4]",
                      "VerifyProductByIndex: Write [Info_22_1_05058_1][Path][Product/f.zip,4]",
                  }));
  EXPECT_EQ(StoredText(), index);
  EXPECT_TRUE(downloader.requests.empty());
  EXPECT_EQ(state.ProductUpdates(), "");
  for (const std::string& written : files.files_written) EXPECT_NE(written, paths.StoredIndex());
}

TEST_F(ProductVisitTest, ProductThatIsNotDefinedEndsAfterItsLine) {
  Fresh("[All_Product]\nMaxProductID=30\n");
  Visit(7, "64");
  EXPECT_EQ(LogMessages(), (Messages{
                               "VerifyProductByIndex: ------------------------------------",
                               "VerifyProductByIndex: Verify product number [7] [Lang: 64]",
                               "VerifyProductByIndex: Product number [7] is not define.... Exit function",
                           }));
  EXPECT_FALSE(files.Has(R"(\ActiveUpdate\server.ini)"));
}

TEST_F(ProductVisitTest, ForcedLanguageReplacesTheArgumentAndIsNamed) {
  Fresh("[All_Product]\nProduct.22=22,5.58,64\n");
  Visit();
  EXPECT_EQ(LogMessages("VerifyProductByIndex, Force"),
            (Messages{"VerifyProductByIndex, Force to Search language = 64 Compiled on 2003/01/30",
                      "VerifyProductByIndex, Force to Search language French"}));
  EXPECT_TRUE(Logged("VerifyProductByIndex: MyBigKey =Info_22_64_05058_1"));
  ClearLog();
  Fresh("[All_Product]\nProduct.22=22,5.58,1\n");
  Visit(22, "16");
  EXPECT_TRUE(Logged("VerifyProductByIndex, Force to Search language English"));
  ClearLog();
  Fresh("[All_Product]\nProduct.22=22,5.58,7\n");
  Visit();
  EXPECT_EQ(LogMessages("VerifyProductByIndex, Force"),
            (Messages{"VerifyProductByIndex, Force to Search language = 7 Compiled on 2003/01/30"}));
}

TEST_F(ProductVisitTest, LanguageZeroInTheEntryForcesNothing) {
  Fresh("[All_Product]\nProduct.22=22,5.58,0\n");
  Visit(22, "16");
  EXPECT_TRUE(LogMessages("VerifyProductByIndex, Force").empty());
  EXPECT_TRUE(Logged("VerifyProductByIndex: MyBigKey =Info_22_16_05058_1"));
}

TEST_F(ProductVisitTest, EmptyMinimalVersionIsShownAsZero) {
  Fresh("[All_Product]\nProduct.22=22,\n");
  Visit();
  EXPECT_TRUE(Logged("VerifyProductByIndex, View Minimal version : [0]"));
  EXPECT_TRUE(Logged("VerifyProductByIndex: Version MinimalVersionTemp =[00000]"));
}

TEST_F(ProductVisitTest, ProductWithoutAVersionIsComparedAndItsEmptyDefaultsAreWritten) {
  Fresh("[All_Product]\nProduct.22=22,5.58\n");
  Visit();
  const Messages all = LogMessages();
  const Messages middle(all.begin() + 8, all.begin() + 12);
  EXPECT_EQ(middle, (Messages{
                        "VerifyProductByIndex: STORE=[Info_22_1_05058_1][Update_Path]=[]",
                        "VerifyProductByIndex: No version for this key [Info_22_1_05058_1]",
                        "VerifyProductByIndex: ----------------------------------------",
                        "VerifyProductByIndex: Version On ActiveUpdate=",
                    }));
  EXPECT_TRUE(Logged("VerifyProductByIndex: []=<[]"));
  EXPECT_TRUE(
      Logged(R"(VerifyProductByIndex: /app\ActiveUpdate\ is not in the Product folder, download it)"));
  for (const char* key : {"Version", "Path", "Update_Path", "EngineType", "PatternType"}) {
    EXPECT_TRUE(Has(key)) << key;
  }
}

TEST_F(ProductVisitTest, MissingFileOfAVersionThatIsNotNewerIsNotFetched) {
  const std::string index = Service("2", "Product/u.zip,6", "Product/f.zip,4");
  Fresh(index);
  Stored(index);
  Visit();
  EXPECT_TRUE(Logged(
      R"(VerifyProductByIndex: /app\ActiveUpdate\Product\u.zip is not in the Product folder, download it)"));
  EXPECT_TRUE(Logged("VerifyProductByIndex: DownloadNow=[False]"));
  EXPECT_TRUE(downloader.requests.empty());
}

TEST_F(ProductVisitTest, VersionsCompareAsText) {
  Fresh(Service("10.0", "Product/u.zip,6", "Product/f.zip,4"));
  Stored(Service("9.0", "Product/u.zip,6", "Product/f.zip,4"));
  Visit();
  EXPECT_TRUE(Logged("VerifyProductByIndex: [10.0]=<[9.0]"));
  EXPECT_EQ(Recorded("Version"), "10.0") << "the defaults are the fresh values all the same";
}

TEST_F(ProductVisitTest, FailedDownloadRecordsTheVersionAndIsNotTriedAgainUntilItRises) {
  Fresh(Service("2", "Product/u.zip,6", "Product/f.zip,4"));
  Visit();
  EXPECT_EQ(LogMessages("VerifyProductByIndex: Error"),
            (Messages{"VerifyProductByIndex: Error to get file Product/u.zip",
                      "VerifyProductByIndex: Error downloading...Write default ini..",
                      "VerifyProductByIndex: Error to get file Product/f.zip",
                      "VerifyProductByIndex: Error downloading...Write default ini.."}));
  EXPECT_EQ(Recorded("Version"), "2");
  EXPECT_EQ(Recorded("Update_Path"), "Product/u.zip,6");
  EXPECT_EQ(Recorded("Path"), "Product/f.zip,4");
  EXPECT_EQ(state.ProductUpdates(), "");
  downloader.requests.clear();
  Visit();
  EXPECT_TRUE(downloader.requests.empty());
  EXPECT_TRUE(Logged("VerifyProductByIndex: [2]=<[2]"));
  Fresh(Service("3", "Product/u.zip,6", "Product/f.zip,4"));
  Visit();
  EXPECT_EQ(downloader.requests.size(), 2U);
}

TEST_F(ProductVisitTest, OneFailedFileDoesNotStopTheOther) {
  Fresh(Service("2", "Product/u.zip,6", "Product/f.zip,4"));
  Offer("Product/f.zip", "full");
  Visit();
  EXPECT_EQ(state.ProductUpdates(), "[2] New Product downloaded Product/f.zip\r\n");
  EXPECT_TRUE(files.Has(R"(\ActiveUpdate\Product\f.zip)"));
}

TEST_F(ProductVisitTest, SizesOfExactlyTheLimitAreMirroredAndOneByteMoreIsLeftOut) {
  SetSetting("SOURCES", "LimitProductSize", "1");
  Fresh(Service("2", "Product/u.zip,1000000", "Product/f.zip,1000000"));
  Visit();
  EXPECT_TRUE(Logged("VerifyProductByIndex: ENABLE_REDUCE_PRODUCT_SIZE=[1]"));
  EXPECT_EQ(downloader.requests.size(), 2U);
  Stored("");
  downloader.requests.clear();
  ClearLog();
  Fresh(Service("2", "Product/u.zip,1000001", "Product/f.zip,5"));
  Visit();
  EXPECT_TRUE(
      Logged("VerifyProductByIndex: Update_Path(Product/u.zip): [Update is higher than 1mb skip it]"));
  EXPECT_TRUE(Logged("VerifyProductByIndex: Update_Path size=[1000001]"));
  EXPECT_TRUE(downloader.requests.empty());
}

TEST_F(ProductVisitTest, LargeFilesAreMirroredWhenSizesAreNotLimited) {
  Fresh(Service("2", "Product/u.zip,1000001", "Product/f.zip,12345678901"));
  Visit();
  EXPECT_EQ(downloader.requests.size(), 2U);
  EXPECT_TRUE(Logged("VerifyProductByIndex: Path size=[12345678901]"));
  EXPECT_FALSE(Logged("VerifyProductByIndex: ENABLE_REDUCE_PRODUCT_SIZE=[1]"));
}

TEST_F(ProductVisitTest, LargeUpdateEndsTheProductWithNothingRecordedButItsEntry) {
  SetSetting("SOURCES", "LimitProductSize", "1");
  Fresh(Service("2", "Product/u.zip,1000001", "Product/f.zip,5"));
  Visit();
  EXPECT_EQ(LogMessages().back(), "VerifyProductByIndex: DownloadNow=[True]");
  EXPECT_TRUE(Logged("VerifyProductByIndex: DoNotDownload=[True]"));
  EXPECT_EQ(StoredText(), "[All_Product]\r\nProduct.22=22,5.58\r\n");
}

TEST_F(ProductVisitTest, LargeFullFileIsLeftOutAndTheVersionIsStillRecorded) {
  SetSetting("SOURCES", "LimitProductSize", "1");
  Fresh(Service("2", "Product/u.zip,6", "Product/f.zip,1000001"));
  Offer("Product/u.zip", "update");
  Visit();
  EXPECT_TRUE(Logged("VerifyProductByIndex: Path(Product/f.zip): [Update is higher than 1mb skip it]"));
  EXPECT_EQ(LogMessages().back(), "VerifyProductByIndex:DoNotDownload1=[True]");
  EXPECT_EQ(downloader.Urls(), (Messages{"http://service/au/Product/u.zip"}));
  EXPECT_EQ(Recorded("Version"), "2");
  EXPECT_FALSE(Has("Path"));
  EXPECT_EQ(StoredValue("All_Product", "MaxProductID"), "30");
}

TEST_F(ProductVisitTest, ValueWithoutACommaIsReportedAndCountsAsAFailedDownload) {
  Fresh(Service("2", "nocomma", "Product/f.zip,4"));
  Offer("Product/f.zip", "full");
  Visit();
  EXPECT_EQ(LogMessages("VerifyProductByIndex: ERROR !! "),
            Messages(2, "VerifyProductByIndex: ERROR !! 5 Invalid procedure call or argument"));
  EXPECT_TRUE(Logged("VerifyProductByIndex: Error to get file "));
  EXPECT_EQ(downloader.Urls(), (Messages{"http://service/au/Product/f.zip"}));
}

TEST_F(ProductVisitTest, SizeThatIsNoNumberIsReportedAndTheProductIsMirrored) {
  Fresh(Service("2", "Product/u.zip,abc", "Product/f.zip,4"));
  Offer("Product/u.zip", "update");
  Visit();
  EXPECT_TRUE(Logged("VerifyProductByIndex: ERROR !! 13 Type mismatch"));
  EXPECT_EQ(Recorded("Update_Path"), "Product/u.zip,abc") << "the size is recorded as it stands";
}

TEST_F(ProductVisitTest, LimitThatIsNoNumberIsReportedAndOff) {
  SetSetting("SOURCES", "LimitProductSize", "x");
  Fresh(Service("2", "Product/u.zip,1000001", "Product/f.zip,4"));
  Visit();
  EXPECT_TRUE(Logged("VerifyProductByIndex: ERROR !! 13 Type mismatch"));
  EXPECT_EQ(downloader.requests.size(), 2U);
}

TEST_F(ProductVisitTest, EmptyPathIsAFailedDownloadWithoutARequestOrASizeLine) {
  Fresh(Service("2", "", "Product/f.zip,4"));
  Visit();
  EXPECT_EQ(LogMessages("VerifyProductByIndex: Update_Path size=").size(), 0U);
  EXPECT_TRUE(Logged("VerifyProductByIndex: Error to get file "));
  EXPECT_EQ(downloader.Urls(), (Messages{"http://service/au/Product/f.zip"}));
}

TEST_F(ProductVisitTest, PathThatLeavesTheMirrorIsRefused) {
  Fresh(Service("2", "../../outside.zip,6", "/etc/file,4"));
  downloader.Serve("http://service/au/../../outside.zip", "x");
  Visit();
  EXPECT_TRUE(downloader.requests.empty());
  EXPECT_EQ(LogMessages("ServiceFetch: Refused path [../../outside.zip]: ").size(), 1U);
  EXPECT_EQ(LogMessages("ServiceFetch: Refused path [/etc/file]: ").size(), 1U);
  EXPECT_EQ(state.ProductUpdates(), "");
}

TEST_F(ProductVisitTest, MaxProductIdIsCopiedOnlyWhenItsTextDiffers) {
  const std::string index = Service("2", "Product/u.zip,6", "Product/f.zip,4");
  Fresh(index);
  Stored("[All_Product]\r\nMaxProductID=030\r\n");
  Visit();
  EXPECT_EQ(StoredValue("All_Product", "MaxProductID"), "30");
}

TEST_F(ProductVisitTest, DeepPathsGetTheirFoldersInTheMirror) {
  Fresh(Service("2", "Product/a/b/u.zip,6", "Product/f.zip,4"));
  Offer("Product/a/b/u.zip", "update");
  Visit();
  EXPECT_TRUE(files.Has(R"(\ActiveUpdate\Product\a\b\u.zip)"));
}

}  // namespace
}  // namespace vlmr::index
