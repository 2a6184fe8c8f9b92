// One product in one language: `Products::VerifyProductByIndex` and its steps.
#include <array>
#include <charconv>

#include "core/number.h"
#include "core/text.h"
#include "index/index_values.h"
#include "index/product_key.h"
#include "index/products.h"

namespace vlmr::index {
namespace {

constexpr std::string_view kProducts = "All_Product";

/// Files above this many bytes are left out when product sizes are limited.
constexpr double kSizeLimit = 1'000'000;

/// The values of one product section.
struct Section {
  std::string version;
  std::string path;
  std::string update_path;
  std::string engine_type;
  std::string pattern_type;
};

Section ReadSection(core::IniStore& ini, const std::string& key, const std::string& file) {
  const IndexValues values(ini, file);
  return {.version = values.Get(key, "Version"),
          .path = values.Get(key, "Path"),
          .update_path = values.Get(key, "Update_Path"),
          .engine_type = values.Get(key, "EngineType"),
          .pattern_type = values.Get(key, "PatternType")};
}

/// A number of bytes as plain digits.
std::string SizeText(double size) {
  std::array<char, 512> buffer{};
  const std::to_chars_result end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), size, std::chars_format::fixed);
  return {buffer.data(), end.ptr};
}

}  // namespace

/// One of the two files of a product.
struct Products::File {
  std::string key;          ///< "Update_Path" or "Path"
  std::string report_mark;  ///< what its line in the product mail begins with
  std::string value;        ///< the fresh path-and-size value
  std::string path;         ///< its path part, with slashes
  double size = 0;          ///< its size part in bytes
  bool too_large = false;   ///< left out because of its size
};

/// What the steps hand on to each other.
struct Products::Visit {
  std::string entry_key;     ///< "Product." and the number
  std::string entry;         ///< the fresh product entry
  std::string stored_entry;  ///< the mirror's
  std::string language;      ///< the caller's, until the entry forces its own
  std::string key;           ///< the product's section in both indexes
  Section fresh;
  Section stored;
  File update{.key = "Update_Path", .report_mark = "[1]", .value = {}, .path = {}};
  File full{.key = "Path", .report_mark = "[2]", .value = {}, .path = {}};
  bool download_now = false;  ///< decided once, serves both files
};

void Products::VerifyProductByIndex(std::int16_t number, const std::string& language) {
  const std::string number_text = core::IntegerText(number);
  runtime_.Log("VerifyProductByIndex: ------------------------------------");
  runtime_.Log("VerifyProductByIndex: Verify product number [" + number_text + "] [Lang: " + language + "]");
  Visit visit;
  visit.entry_key = "Product." + number_text;
  visit.language = language;
  if (!ReadEntry(visit)) {
    runtime_.Log("VerifyProductByIndex: Product number [" + number_text +
                 "] is not define.... Exit function");
    return;
  }
  AnalyzeEntry(visit);
  ReadSections(visit);
  LimitSizes(visit);
  LogComparison(visit);
  WriteEntry(visit);
  DecideDownload(visit);
  // No version is recorded for a product whose update is left out, so its full file is not considered either.
  if (visit.update.too_large) return;
  MirrorFile(visit, visit.update);
  runtime_.Log("VerifyProductByIndex:DoNotDownload1=[" + core::BooleanText(visit.full.too_large) + "]");
  if (!visit.full.too_large) MirrorFile(visit, visit.full);
  WriteVersions(visit);
  WriteMaxProductId();
}

bool Products::ReadEntry(Visit& visit) const {
  visit.entry = runtime_.ReadIniValue(kProducts, visit.entry_key, runtime_.paths.FreshIndex());
  visit.stored_entry = runtime_.ReadIniValue(kProducts, visit.entry_key, runtime_.paths.StoredIndex());
  return !visit.entry.empty();
}

void Products::AnalyzeEntry(Visit& visit) const {
  const ProductEntry entry = ParseProductEntry(visit.entry);
  runtime_.Log("VerifyProductByIndex: Analyze [" + visit.entry + "]");
  runtime_.Log("VerifyProductByIndex: String On ActiveUpdate=" + visit.entry);
  runtime_.Log("VerifyProductByIndex: String Stored =" + visit.stored_entry);
  if (!entry.forced_language.empty()) {
    visit.language = entry.forced_language;
    runtime_.Log("VerifyProductByIndex, Force to Search language = " + visit.language +
                 " Compiled on 2003/01/30");
    if (visit.language == "1") runtime_.Log("VerifyProductByIndex, Force to Search language English");
    if (visit.language == "64") runtime_.Log("VerifyProductByIndex, Force to Search language French");
  }
  runtime_.Log("VerifyProductByIndex, View Minimal version : [" + entry.minimal_version + "]");
  const std::string minimal_version = MinimalVersionText(entry.minimal_version);
  runtime_.Log("VerifyProductByIndex: Version MinimalVersionTemp =[" + minimal_version + "]");
  visit.key = ProductKey(entry.product, visit.language, minimal_version);
  runtime_.Log("VerifyProductByIndex: MyBigKey =" + visit.key);
}

void Products::ReadSections(Visit& visit) const {
  visit.fresh = ReadSection(runtime_.ini, visit.key, runtime_.paths.FreshIndex());
  visit.stored = ReadSection(runtime_.ini, visit.key, runtime_.paths.StoredIndex());
  visit.update.value = visit.fresh.update_path;
  visit.full.value = visit.fresh.path;
  for (File* file : {&visit.full, &visit.update}) {
    trap_([&] { file->path = core::SplitPathAndSize(file->value).path; });
  }
  runtime_.Log("VerifyProductByIndex: STORE=[" + visit.key + "][Update_Path]=[" + visit.stored.update_path +
               "]");
  ReadSize(visit.update);
  ReadSize(visit.full);
  if (visit.fresh.version.empty()) {
    runtime_.Log("VerifyProductByIndex: No version for this key [" + visit.key + "]");
  }
}

void Products::ReadSize(File& file) const {
  if (file.value.empty()) return;
  trap_([&] { file.size = core::ToDouble(core::SplitPathAndSize(file.value).size); });
  runtime_.Log("VerifyProductByIndex: " + file.key + " size=[" + SizeText(file.size) + "]");
}

void Products::LimitSizes(Visit& visit) const {
  if (!trap_.Test([&] { return runtime_.settings.IsOn(core::Setting::kLimitProductSize); })) return;
  runtime_.Log("VerifyProductByIndex: ENABLE_REDUCE_PRODUCT_SIZE=[1]");
  LimitSize(visit.update);
  LimitSize(visit.full);
}

void Products::LimitSize(File& file) const {
  if (file.size <= kSizeLimit) return;
  runtime_.Log("VerifyProductByIndex: " + file.key + "(" + file.path +
               "): [Update is higher than 1mb skip it]");
  file.too_large = true;
}

void Products::LogComparison(const Visit& visit) const {
  runtime_.Log("VerifyProductByIndex: ----------------------------------------");
  runtime_.Log("VerifyProductByIndex: Version On ActiveUpdate=" + visit.fresh.version);
  runtime_.Log("VerifyProductByIndex: Path On ActiveUpdate=" + visit.fresh.path);
  runtime_.Log("VerifyProductByIndex: Update_Path On ActiveUpdate=" + visit.fresh.update_path);
  runtime_.Log("VerifyProductByIndex: Version Stored=" + visit.stored.version);
  runtime_.Log("VerifyProductByIndex: Path Stored =" + visit.stored.path);
  runtime_.Log("VerifyProductByIndex: Update_Path Stored =" + visit.stored.update_path);
  runtime_.Log("VerifyProductByIndex: ----------------------------------------");
}

void Products::WriteEntry(const Visit& visit) const {
  runtime_.WriteIniValue(kProducts, visit.entry_key, visit.entry, runtime_.paths.StoredIndex());
  runtime_.Log("VerifyProductByIndex: Write [All_Product][" + visit.entry_key + "][" + visit.entry + "]");
}

void Products::DecideDownload(Visit& visit) const {
  LogIfMissing(visit.update);
  LogIfMissing(visit.full);
  // The versions have the last word: a missing file of a version that is not newer is not fetched.
  visit.download_now = core::CompareAsText(visit.fresh.version, visit.stored.version) > 0;
  runtime_.Log("VerifyProductByIndex: [" + visit.fresh.version + (visit.download_now ? "]>[" : "]=<[") +
               visit.stored.version + "]");
  runtime_.Log("VerifyProductByIndex: DoNotDownload=[" + core::BooleanText(visit.update.too_large) + "]");
  runtime_.Log("VerifyProductByIndex: DownloadNow=[" + core::BooleanText(visit.download_now) + "]");
}

void Products::LogIfMissing(const File& file) const {
  if (!fetch_.FindMirrored(file.path).empty()) return;
  runtime_.Log("VerifyProductByIndex: " + fetch_.Mirrored(file.path) +
               " is not in the Product folder, download it");
}

void Products::MirrorFile(const Visit& visit, const File& file) const {
  if (visit.download_now) {
    if (DownloadFile(visit, file)) return;
    runtime_.Log("VerifyProductByIndex: Error downloading...Write default ini..");
  } else {
    runtime_.Log("VerifyProductByIndex: downloading Skipped...Write default ini..");
    runtime_.Log("VerifyProductByIndex: sVal=[" + file.value + "]");
    runtime_.Log("VerifyProductByIndex: Write [" + visit.key + "][" + file.key + "][" + file.value + "]");
  }
  WriteDefaults(visit, file);
}

bool Products::DownloadFile(const Visit& visit, const File& file) const {
  runtime_.Log("VerifyProductByIndex: New Product found on ActiveUpdate");
  if (!fetch_.Fetch(file.path)) {
    runtime_.Log("VerifyProductByIndex: Error to get file " + file.path);
    return false;
  }
  fetch_.Publish(file.path);
  runtime_.WriteIniValue(visit.key, file.key, file.value, runtime_.paths.StoredIndex());
  runtime_.state.AppendProductUpdates(file.report_mark + " New Product downloaded " + file.path + "\r\n");
  return true;
}

void Products::WriteDefaults(const Visit& visit, const File& file) const {
  runtime_.WriteIniValues(visit.key,
                          {{file.key, file.value},
                           {"Version", visit.fresh.version},
                           {"EngineType", visit.fresh.engine_type},
                           {"PatternType", visit.fresh.pattern_type}},
                          runtime_.paths.StoredIndex());
}

void Products::WriteVersions(const Visit& visit) const {
  runtime_.WriteIniValues(visit.key,
                          {{"Version", visit.fresh.version},
                           {"EngineType", visit.fresh.engine_type},
                           {"PatternType", visit.fresh.pattern_type}},
                          runtime_.paths.StoredIndex());
}

void Products::WriteMaxProductId() const {
  const std::string fresh = runtime_.ReadIniValue(kProducts, "MaxProductID", runtime_.paths.FreshIndex());
  const std::string stored = runtime_.ReadIniValue(kProducts, "MaxProductID", runtime_.paths.StoredIndex());
  if (core::CompareAsText(fresh, stored) == 0) return;
  runtime_.WriteIniValue(kProducts, "MaxProductID", fresh, runtime_.paths.StoredIndex());
}

}  // namespace vlmr::index
