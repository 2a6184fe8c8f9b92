#pragma once

#include "core/runtime.h"

namespace vlmr::core {

/// Which of the two folder trees.
enum class FolderTree { kPublished, kStaging };

/// Checks one tree and makes what is missing, in its fixed order, with a detailed log line for each folder.
/// Raises 75 or 76 when a folder cannot be made; the rest of that tree is then not checked.
void TestingFolder(const Runtime& runtime, FolderTree tree);

}  // namespace vlmr::core
