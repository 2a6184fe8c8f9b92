#include "index/products.h"

#include <array>

#include "core/number.h"
#include "core/text.h"
#include "index/entry_numbers.h"
#include "platform/runtime_error.h"

namespace vlmr::index {
namespace {

constexpr std::array<std::int16_t, 9> kOfficeScanProducts{6, 10, 11, 12, 16, 22, 23, 24, 25};
constexpr std::array<std::int16_t, 5> kServerProtectProducts{1, 2, 21, 51, 57};
constexpr std::array<std::int16_t, 6> kSmexProducts{3, 4, 15, 19, 45, 54};

const std::string kEnglish = "1";
const std::string kFrench = "64";

}  // namespace

Products::Products(const core::Runtime& runtime, const ServiceFetch& fetch)
    : runtime_(runtime), fetch_(fetch), trap_([this](const platform::RuntimeError& error) {
        runtime_.Log("VerifyProductByIndex: ERROR !! " + core::ErrorText(error));
      }) {}

void Products::GetProducts() {
  const core::ErrorTrap trap([this](const platform::RuntimeError& error) {
    runtime_.Log("GetProducts: Error " + core::ErrorText(error));
  });
  const core::IniStore::Batch batch(runtime_.ini, runtime_.paths.StoredIndex(),
                                    core::IniStore::BatchKind::kEachSecond);
  const std::string last = runtime_.ReadIniValue("All_Product", "MaxProductID", runtime_.paths.FreshIndex());
  runtime_.Log("GetProducts:SourceVer=" + last);
  runtime_.Log("GetProducts:Verify Products Language English");
  // Counted in more than 16 bits, or the highest number would have no end.
  const int last_number = trap.Value([&] { return core::ToInt16(last); }).value_or(0);
  const std::vector<int> numbers = EntryNumbers(runtime_.ini.Document(runtime_.paths.FreshIndex()),
                                                "All_Product", {"Product."}, last_number);
  for (const int number : numbers) {
    VerifyProductByIndex(static_cast<std::int16_t>(number), kEnglish);
    VerifyProductByIndex(static_cast<std::int16_t>(number), "16");
  }
}

void Products::GET_PRODUCTS_ByName() {
  VerifySet(kOfficeScanProducts, kFrench);
  VerifySet(kOfficeScanProducts, kEnglish);
}

void Products::GetServerProtectProducts() { VerifySet(kServerProtectProducts, kEnglish); }

void Products::GetSmexProducts() { VerifySet(kSmexProducts, kEnglish); }

void Products::VerifySet(std::span<const std::int16_t> numbers, const std::string& language) {
  const core::IniStore::Batch batch(runtime_.ini, runtime_.paths.StoredIndex(),
                                    core::IniStore::BatchKind::kEachSecond);
  for (const std::int16_t number : numbers) VerifyProductByIndex(number, language);
}

}  // namespace vlmr::index
