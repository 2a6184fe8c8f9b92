#include "platform/system_error.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace vlmr::platform {
namespace {

struct Case {
  Attempt attempt;
  int system_error;
  int number;
};

TEST(ErrorNumberOfTest, FollowsTheTable) {
  const Case cases[] = {
      {Attempt::kDelete, ENOENT, 53},      {Attempt::kDelete, ENOTDIR, 53},
      {Attempt::kDelete, EISDIR, 53},      {Attempt::kDelete, EACCES, 70},
      {Attempt::kDelete, EPERM, 70},       {Attempt::kDelete, EBUSY, 70},
      {Attempt::kDelete, EROFS, 70},       {Attempt::kLength, ENOENT, 53},
      {Attempt::kLength, ENOTDIR, 53},     {Attempt::kLength, EISDIR, 53},
      {Attempt::kRead, ENOENT, 53},        {Attempt::kRead, ENOTDIR, 76},
      {Attempt::kRead, EISDIR, 53},        {Attempt::kRead, EACCES, 70},
      {Attempt::kRead, EIO, 57},           {Attempt::kRead, ENOMEM, 7},
      {Attempt::kWrite, ENOENT, 76},       {Attempt::kWrite, ENOTDIR, 76},
      {Attempt::kWrite, EISDIR, 75},       {Attempt::kWrite, EROFS, 75},
      {Attempt::kWrite, ENAMETOOLONG, 75}, {Attempt::kWrite, EACCES, 70},
      {Attempt::kWrite, EPERM, 70},        {Attempt::kWrite, ETXTBSY, 70},
      {Attempt::kWrite, ENOSPC, 61},       {Attempt::kWrite, EDQUOT, 61},
      {Attempt::kWrite, EFBIG, 61},        {Attempt::kWrite, EIO, 57},
      {Attempt::kMakeFolder, EEXIST, 75},  {Attempt::kMakeFolder, EACCES, 75},
      {Attempt::kMakeFolder, EROFS, 75},   {Attempt::kMakeFolder, ENOENT, 76},
      {Attempt::kMakeFolder, ENOTDIR, 76}, {Attempt::kMakeFolder, ENOSPC, 61},
      {Attempt::kStart, ENOENT, 53},       {Attempt::kStart, ENOTDIR, 53},
      {Attempt::kStart, ENOEXEC, 5},       {Attempt::kStart, EACCES, 70},
      {Attempt::kStart, EAGAIN, 7},        {Attempt::kWrite, EXDEV, 75},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ErrorNumberOf(c.attempt, c.system_error), c.number)
        << "attempt " << static_cast<int>(c.attempt) << ": " << std::strerror(c.system_error);
  }
}

}  // namespace
}  // namespace vlmr::platform
