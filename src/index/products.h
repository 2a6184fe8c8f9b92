#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "core/error_trap.h"
#include "core/runtime.h"
#include "index/service_fetch.h"

namespace vlmr::index {

/// Mirrors product updates: compares one numbered product in one language between the fresh index and the
/// mirror's, fetches its two files when the service's version is greater, and records the result. The sets
/// and the full pass are lists of that one operation. None raises.
class Products {
 public:
  /// All references must outlive this object.
  Products(const core::Runtime& runtime, const ServiceFetch& fetch);

  /// The full pass: products 1 to the fresh "MaxProductID" as `EntryNumbers` gives them, each in English
  /// ("1") and then "16".
  void GetProducts();
  /// The OfficeScan set: nine products, all of them in French ("64") and then all in English.
  void GET_PRODUCTS_ByName();
  /// The ServerProtect set, in English.
  void GetServerProtectProducts();
  /// The SMEX set, in English.
  void GetSmexProducts();

  /// One product: `number` as in "Product.N" of [All_Product], `language` as a text.
  void VerifyProductByIndex(std::int16_t number, const std::string& language);

 private:
  struct File;
  struct Visit;

  void VerifySet(std::span<const std::int16_t> numbers, const std::string& language);

  bool ReadEntry(Visit& visit) const;
  void AnalyzeEntry(Visit& visit) const;
  void ReadSections(Visit& visit) const;
  void ReadSize(File& file) const;
  void LimitSizes(Visit& visit) const;
  void LimitSize(File& file) const;
  void LogComparison(const Visit& visit) const;
  void WriteEntry(const Visit& visit) const;
  void DecideDownload(Visit& visit) const;
  void LogIfMissing(const File& file) const;
  void MirrorFile(const Visit& visit, const File& file) const;
  bool DownloadFile(const Visit& visit, const File& file) const;
  void WriteDefaults(const Visit& visit, const File& file) const;
  void WriteVersions(const Visit& visit) const;
  void WriteMaxProductId() const;

  const core::Runtime& runtime_;
  const ServiceFetch& fetch_;
  core::ErrorTrap trap_;
};

}  // namespace vlmr::index
