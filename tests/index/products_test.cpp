#include "index/products.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/number.h"
#include "index/index_world.h"

namespace vlmr::index {
namespace {

using test::IndexWorld;
using Messages = std::vector<std::string>;

struct ProductsTest : testing::Test, IndexWorld {
  /// "number/language" of every product that was verified, in order.
  Messages Verified() const {
    Messages verified;
    const std::string head = "VerifyProductByIndex: Verify product number [";
    for (const std::string& message : LogMessages(head)) {
      std::string visit = message.substr(head.size());
      visit.replace(visit.find("] [Lang: "), 9, "/");
      visit.pop_back();
      verified.push_back(visit);
    }
    return verified;
  }
};

TEST_F(ProductsTest, FullPassVisitsEachProductInEnglishAndThenInSixteenUpToTheHighestNumber) {
  Fresh("[All_Product]\nMaxProductID=3\nProduct.4=4,1\n");
  products.GetProducts();
  EXPECT_EQ(Verified(), (Messages{"1/1", "1/16", "2/1", "2/16", "3/1", "3/16"}));
  const Messages all = LogMessages();
  EXPECT_EQ(all[0], "GetProducts:SourceVer=3");
  EXPECT_EQ(all[1], "GetProducts:Verify Products Language English");
  EXPECT_FALSE(files.Has(R"(\ActiveUpdate\server.ini)"));
}

TEST_F(ProductsTest, ProductsThatAreNotDefinedDoNotStopThePass) {
  Fresh("[All_Product]\nMaxProductID=2\nProduct.2=2,1\n");
  products.GetProducts();
  EXPECT_EQ(LogMessages("VerifyProductByIndex: Product number [1] is not define").size(), 2U);
  EXPECT_EQ(StoredValue("All_Product", "Product.2"), "2,1");
}

TEST_F(ProductsTest, HighestNumberThatIsMissingOrNoNumberVisitsNothing) {
  Fresh("[PATTERN]\n");
  products.GetProducts();
  EXPECT_EQ(LogMessages(),
            (Messages{"GetProducts:SourceVer=", "GetProducts:Verify Products Language English"}));
  Fresh("[All_Product]\nMaxProductID=many\n");
  products.GetProducts();
  EXPECT_TRUE(Logged("GetProducts: Error 13 Type mismatch"));
  Fresh("[All_Product]\nMaxProductID=40000\n");
  products.GetProducts();
  EXPECT_TRUE(Logged("GetProducts: Error 6 Overflow"));
  EXPECT_TRUE(Verified().empty());
}

TEST_F(ProductsTest, HighestPossibleNumberIsVisitedAndEndsThePass) {
  Fresh("[All_Product]\nMaxProductID=32767\nProduct.32767=9,1\n");
  SetSetting("ADMIN", "Level", "5");
  products.GetProducts();
  EXPECT_EQ(StoredValue("All_Product", "Product.32767"), "9,1");
}

TEST_F(ProductsTest, HighestNumberWithoutItsProductsEndsThePassSoonAndMissesNoneThatIsThere) {
  Fresh("[All_Product]\nMaxProductID=32767\nProduct.30000=9,1\n");
  SetSetting("LOGS", "MaxSize", "100000");
  products.GetProducts();
  EXPECT_EQ(StoredValue("All_Product", "Product.30000"), "9,1");
  EXPECT_EQ(LogMessages("VerifyProductByIndex: Verify product number").size(), 2U * 1001U);
}

TEST_F(ProductsTest, OfficeScanSetIsNineProductsInFrenchAndThenInEnglish) {
  products.GET_PRODUCTS_ByName();
  EXPECT_EQ(Verified(),
            (Messages{"6/64", "10/64", "11/64", "12/64", "16/64", "22/64", "23/64", "24/64", "25/64", "6/1",
                      "10/1", "11/1", "12/1", "16/1", "22/1", "23/1", "24/1", "25/1"}));
}

TEST_F(ProductsTest, ServerProtectSetIsFiveProductsInEnglish) {
  products.GetServerProtectProducts();
  EXPECT_EQ(Verified(), (Messages{"1/1", "2/1", "21/1", "51/1", "57/1"}));
}

TEST_F(ProductsTest, SmexSetIsSixProductsInEnglish) {
  products.GetSmexProducts();
  EXPECT_EQ(Verified(), (Messages{"3/1", "4/1", "15/1", "19/1", "45/1", "54/1"}));
}

TEST_F(ProductsTest, ProductIsVisitedTwiceInAPassWithASectionPerLanguage) {
  Fresh(
      "[All_Product]\nMaxProductID=1\nProduct.1=1,5\n[Info_1_1_05000_1]\nVersion=1\nUpdate_Path=a,1\nPath=b,"
      "1\n"
      "[Info_1_16_05000_1]\nVersion=1\nUpdate_Path=c,1\nPath=d,1\n");
  products.GetProducts();
  EXPECT_EQ(downloader.Urls(), (Messages{"http://service/au/a", "http://service/au/b", "http://service/au/c",
                                         "http://service/au/d"}));
}

/// A service of so many products, each with its own two files.
std::string ServiceOf(int count) {
  std::string index = "[All_Product]\r\nMaxProductID=" + core::IntegerText(count) + "\r\n";
  for (int n = 1; n <= count; ++n) {
    const std::string number = core::IntegerText(n);
    index += "Product." + number + "=" + number + ",1\r\n";
  }
  for (int n = 1; n <= count; ++n) {
    const std::string number = core::IntegerText(n);
    index += "[Info_" + number + "_1_01000_1]\r\nVersion=1\r\nUpdate_Path=Product/u" + number +
             ",1\r\nPath=Product/f" + number + ",1\r\n";
  }
  return index;
}

TEST_F(ProductsTest, PassOfManyProductsWritesTheMirrorsIndexOnce) {
  Fresh(ServiceOf(50));
  files.files_written.clear();
  products.GetProducts();
  EXPECT_EQ(std::count(files.files_written.begin(), files.files_written.end(), paths.StoredIndex()), 1);
  EXPECT_EQ(StoredValue("Info_50_1_01000_1", "Version"), "1");
}

TEST_F(ProductsTest, LongPassShowsItsWorkEachSecond) {
  Fresh(ServiceOf(3));
  downloader.on_request = [&](const std::string&) { clock.Advance(std::chrono::seconds(1)); };
  files.files_written.clear();
  products.GetProducts();
  EXPECT_GE(std::count(files.files_written.begin(), files.files_written.end(), paths.StoredIndex()), 3);
}

TEST_F(ProductsTest, SecondPassWithNothingNewWritesNoIndex) {
  Fresh(ServiceOf(5));
  products.GetProducts();
  files.files_written.clear();
  downloader.requests.clear();
  products.GetProducts();
  EXPECT_EQ(std::count(files.files_written.begin(), files.files_written.end(), paths.StoredIndex()), 0);
  EXPECT_TRUE(downloader.requests.empty());
}

}  // namespace
}  // namespace vlmr::index
