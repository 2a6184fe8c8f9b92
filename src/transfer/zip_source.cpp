#include "transfer/zip_source.h"

#include <zip.h>

#include <utility>

namespace vlmr::transfer {

namespace {

/// Runs one of libzip's requests; a run-time error is kept and told to libzip as a failure, because nothing
/// may be thrown through it.
template <class Request>
zip_int64_t Guarded(std::optional<platform::RuntimeError>& fault, Request&& request) {
  try {
    return std::forward<Request>(request)();
  } catch (const platform::RuntimeError& error) {
    fault = error;
    return -1;
  }
}

/// Where a seek request of libzip leads within `length` bytes; below 0 when it leads outside.
std::int64_t Sought(void* data, zip_uint64_t size, std::int64_t offset, std::int64_t length) {
  zip_error_t ignored;
  zip_error_init(&ignored);
  const zip_int64_t sought = zip_source_seek_compute_offset(
      static_cast<zip_uint64_t>(offset), static_cast<zip_uint64_t>(length), data, size, &ignored);
  zip_error_fini(&ignored);
  return sought;
}

/// libzip asks for the error behind a failure in its own numbers. The true one is in `Fault`.
zip_int64_t TellError(void* data, zip_uint64_t size, int number) {
  zip_error_t error;
  zip_error_init_with_code(&error, number);
  const zip_int64_t result = zip_error_to_data(&error, data, size);
  zip_error_fini(&error);
  return result;
}

zip_source* Checked(zip_source* made) {
  if (made == nullptr) throw platform::RuntimeError(platform::error_number::kOutOfMemory);
  return made;
}

}  // namespace

struct ZipInputCalls {
  static zip_int64_t Answer(void* self, void* data, zip_uint64_t size, zip_source_cmd_t request) {
    auto& input = *static_cast<ZipInput*>(self);
    return Guarded(input.fault_, [&] { return AnswerOrRaise(input, data, size, request); });
  }

  static zip_int64_t AnswerOrRaise(ZipInput& input, void* data, zip_uint64_t size, zip_source_cmd_t request) {
    switch (request) {
      case ZIP_SOURCE_OPEN:
        input.file_ = input.files_.OpenRead(input.path_);
        input.offset_ = 0;
        return 0;
      case ZIP_SOURCE_READ: {
        const std::span<char> buffer(static_cast<char*>(data), static_cast<std::size_t>(size));
        const std::size_t count = input.file_->ReadAt(input.offset_, buffer);
        input.offset_ += static_cast<std::int64_t>(count);
        return static_cast<zip_int64_t>(count);
      }
      case ZIP_SOURCE_CLOSE:
        input.file_.reset();
        return 0;
      case ZIP_SOURCE_STAT: {
        auto& stat = *static_cast<zip_stat_t*>(data);
        zip_stat_init(&stat);
        stat.size = static_cast<zip_uint64_t>(input.length_);
        stat.valid = ZIP_STAT_SIZE;
        return sizeof stat;
      }
      case ZIP_SOURCE_SEEK: {
        const std::int64_t sought = Sought(data, size, input.offset_, input.length_);
        if (sought < 0) return -1;
        input.offset_ = sought;
        return 0;
      }
      case ZIP_SOURCE_TELL:
        return input.offset_;
      case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_SEEKABLE;
      case ZIP_SOURCE_ERROR:
        return TellError(data, size, ZIP_ER_READ);
      case ZIP_SOURCE_FREE:
        return 0;
      default:
        return -1;
    }
  }
};

ZipInput::ZipInput(const platform::FileReader& files, std::string path)
    : files_(files), path_(std::move(path)), length_(files.Length(path_)) {}

zip_source* ZipInput::Make() {
  return Checked(zip_source_function_create(&ZipInputCalls::Answer, this, nullptr));
}

struct ZipOutputCalls {
  static zip_int64_t Answer(void* self, void* data, zip_uint64_t size, zip_source_cmd_t request) {
    auto& output = *static_cast<ZipOutput*>(self);
    return Guarded(output.fault_, [&] { return AnswerOrRaise(output, data, size, request); });
  }

  static zip_int64_t AnswerOrRaise(ZipOutput& output, void* data, zip_uint64_t size,
                                   zip_source_cmd_t request) {
    switch (request) {
      case ZIP_SOURCE_BEGIN_WRITE:
        output.staged_ = output.files_.Stage(output.path_);
        output.offset_ = 0;
        return 0;
      case ZIP_SOURCE_WRITE:
        output.staged_->WriteAt(output.offset_,
                                {static_cast<const char*>(data), static_cast<std::size_t>(size)});
        output.offset_ += static_cast<std::int64_t>(size);
        return static_cast<zip_int64_t>(size);
      case ZIP_SOURCE_SEEK_WRITE: {
        const std::int64_t sought = Sought(data, size, output.offset_, output.staged_->Length());
        if (sought < 0) return -1;
        output.offset_ = sought;
        return 0;
      }
      case ZIP_SOURCE_TELL_WRITE:
        return output.offset_;
      case ZIP_SOURCE_COMMIT_WRITE: {
        const std::unique_ptr<platform::StagedFile> staged = std::move(output.staged_);
        staged->Commit();
        return 0;
      }
      case ZIP_SOURCE_ROLLBACK_WRITE:
      case ZIP_SOURCE_FREE:
        output.staged_.reset();
        return 0;
      case ZIP_SOURCE_STAT:
        // Nothing that stands under the archive's name is read: it is always built anew.
        zip_stat_init(static_cast<zip_stat_t*>(data));
        return sizeof(zip_stat_t);
      case ZIP_SOURCE_REMOVE:
      case ZIP_SOURCE_OPEN:
      case ZIP_SOURCE_CLOSE:
      case ZIP_SOURCE_READ:
      case ZIP_SOURCE_SEEK:
      case ZIP_SOURCE_TELL:
        return 0;
      case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_WRITABLE;
      case ZIP_SOURCE_ERROR:
        return TellError(data, size, ZIP_ER_WRITE);
      default:
        return -1;
    }
  }
};

zip_source* ZipOutput::Make() {
  return Checked(zip_source_function_create(&ZipOutputCalls::Answer, this, nullptr));
}

}  // namespace vlmr::transfer
