#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vlmr::core {

/// Why a name from outside is not used.
enum class NameFault {
  kNone,
  kEmpty,
  kLeadingSeparator,    ///< begins with "/" or "\", UNC names included
  kDriveOrStream,       ///< holds ":", a drive letter or an NTFS stream
  kParentFolder,        ///< a ".." component
  kControlCharacter,    ///< NUL, everything below a blank, and DEL
  kDeviceName,          ///< CON, NUL, COM1 ... as a component, with or without extension
  kTrailingDotOrBlank,  ///< a component that Windows would spell differently
  kReservedCharacter,   ///< one of < > " | *; a "?" passes, because addresses of the index may carry one
  kEmptyComponent,      ///< two separators in a row, or one at the end
  kTooLong,             ///< a component over 255 bytes, or all over 1024
  kFolderPart,          ///< a separator where a bare file name is asked for
  kTemporaryMark,       ///< looks like one of the program's own temporary files
};

/// The one gate for names from the index, "latest.ini", a zip entry, an FTP listing: what passes stays under
/// the folder that it is meant for, on every system. "/" and "\" both separate.
NameFault CheckOutsidePath(std::string_view relative_path);
/// The same for a bare file name.
NameFault CheckOutsideFileName(std::string_view name);
/// What is wrong, in words for the log.
std::string DescribeNameFault(NameFault fault);

/// The path of a name from outside below a folder, given with or without a backslash at its end: the one way
/// from such a name to a path that is used. Raises 75 with the reason when the name does not pass.
std::string PathBelow(std::string_view folder, std::string_view outside_path);
/// The same for a bare file name.
std::string FileIn(std::string_view folder, std::string_view outside_name);
/// The text that `PathBelow` gives, for lines of the log, which show names that do not pass as well. Whoever
/// uses it as a path has checked the name.
std::string ShownBelow(std::string_view folder, std::string_view outside_path);

}  // namespace vlmr::core
