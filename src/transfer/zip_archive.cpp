#include "transfer/zip_archive.h"

#include <zip.h>

#include <algorithm>
#include <deque>
#include <utility>

#include "platform/runtime_error.h"

namespace vlmr::transfer {

namespace {

constexpr std::size_t kPiece = std::size_t{64} << 10;

/// Throws the error of the file underneath, if there was one, else libzip's.
[[noreturn]] void Raise(const std::optional<platform::RuntimeError>& fault, zip_error_t& error) {
  if (fault) throw platform::RuntimeError(*fault);
  throw platform::RuntimeError(zip_error_code_zip(&error), zip_error_strerror(&error));
}

/// An error of libzip's that goes with its scope.
struct OwnError {
  OwnError() { zip_error_init(&error); }
  ~OwnError() { zip_error_fini(&error); }
  OwnError(const OwnError&) = delete;
  OwnError& operator=(const OwnError&) = delete;
  zip_error_t error;
};

struct EntryCloser {
  void operator()(zip_file_t* entry) const { zip_fclose(entry); }
};

struct Discarder {
  void operator()(zip_t* archive) const { zip_discard(archive); }
};

/// Opens an archive over a source; a source that is refused is freed.
zip_t* Open(zip_source* source, int flags, const std::optional<platform::RuntimeError>& fault) {
  OwnError own;
  zip_t* const archive = zip_open_from_source(source, flags, &own.error);
  if (archive == nullptr) {
    zip_source_free(source);
    Raise(fault, own.error);
  }
  return archive;
}

}  // namespace

void ZipReader::Closer::operator()(zip* archive) const { zip_discard(archive); }

ZipReader::ZipReader(const platform::FileReader& files, const std::string& path)
    : input_(files, path), archive_(Open(input_.Make(), ZIP_RDONLY, input_.Fault())) {}

std::int64_t ZipReader::Count() const { return zip_get_num_entries(archive_.get(), 0); }

std::vector<ZipEntry> ZipReader::Entries() const {
  std::vector<ZipEntry> entries;
  for (std::int64_t index = 0; index < Count(); ++index) {
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(archive_.get(), static_cast<zip_uint64_t>(index), ZIP_FL_ENC_RAW, &stat) != 0) {
      Raise(input_.Fault(), *zip_get_error(archive_.get()));
    }
    entries.push_back({.index = index,
                       .name = stat.name == nullptr ? "" : stat.name,
                       .size = static_cast<std::int64_t>(std::min<zip_uint64_t>(stat.size, INT64_MAX)),
                       .is_encrypted = stat.encryption_method != ZIP_EM_NONE});
  }
  return entries;
}

void ZipReader::Read(const ZipEntry& entry, const std::function<void(std::string_view)>& sink) const {
  const std::unique_ptr<zip_file_t, EntryCloser> file(
      zip_fopen_index(archive_.get(), static_cast<zip_uint64_t>(entry.index), 0));
  if (file == nullptr) Raise(input_.Fault(), *zip_get_error(archive_.get()));
  std::vector<char> piece(kPiece);
  std::int64_t left = entry.size;
  zip_int64_t count = zip_fread(file.get(), piece.data(), piece.size());
  for (; count > 0; count = zip_fread(file.get(), piece.data(), piece.size())) {
    left -= count;
    if (left < 0) throw platform::RuntimeError(ZIP_ER_INCONS, "Entry is longer than it declares");
    sink({piece.data(), static_cast<std::size_t>(count)});
  }
  if (count < 0) Raise(input_.Fault(), *zip_file_get_error(file.get()));
  if (left > 0) throw platform::RuntimeError(ZIP_ER_EOF, "Entry is shorter than it declares");
}

void BuildZip(platform::FileSystem& files, const std::string& path,
              const std::vector<ZipAddition>& additions) {
  // Both outlive the archive, which reads them when it is closed.
  ZipOutput output(files, path);
  std::deque<ZipInput> inputs;
  std::unique_ptr<zip_t, Discarder> archive(Open(output.Make(), ZIP_CREATE | ZIP_TRUNCATE, output.Fault()));
  for (const ZipAddition& addition : additions) {
    zip_source* const source = inputs.emplace_back(files, addition.path).Make();
    if (zip_file_add(archive.get(), addition.name.c_str(), source, ZIP_FL_OVERWRITE) < 0) {
      zip_source_free(source);
      Raise(output.Fault(), *zip_get_error(archive.get()));
    }
  }
  if (zip_close(archive.get()) == 0) {
    static_cast<void>(archive.release());
    return;
  }
  for (const ZipInput& input : inputs) {
    if (input.Fault()) throw platform::RuntimeError(*input.Fault());
  }
  Raise(output.Fault(), *zip_get_error(archive.get()));
}

}  // namespace vlmr::transfer
