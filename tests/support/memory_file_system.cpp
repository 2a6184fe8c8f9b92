#include "support/memory_file_system.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "platform/ascii_case.h"
#include "platform/runtime_error.h"

namespace vlmr::test {

using platform::Access;
using platform::AsciiUpper;
using platform::NameOf;
using platform::RuntimeError;
namespace error_number = platform::error_number;

struct MemoryFileSystem::Node {
  struct ListingOrder {
    using is_transparent = void;
    bool operator()(std::string_view l, std::string_view r) const { return platform::ListsBefore(l, r); }
  };
  bool is_folder = false;
  std::string data;
  Access access = Access::kEverybody;
  platform::FileStamp stamp;
  std::map<std::string, std::unique_ptr<Node>, ListingOrder> children;
};

/// Where a path leads.
struct MemoryFileSystem::Place {
  bool refused = false;    ///< a ".." component
  Node* parent = nullptr;  ///< null: the folder is missing, or the path is a root itself
  Node* node = nullptr;    ///< null: the name is missing
  std::string name;        ///< as on disk, or as written when it is missing
  bool ends_in_backslash = false;
  bool IsFile() const { return node != nullptr && !node->is_folder && !ends_in_backslash; }
  bool IsFolder() const { return node != nullptr && node->is_folder; }
};

namespace {

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

std::size_t CopyBytes(const std::string& data, std::int64_t offset, std::span<char> buffer) {
  if (offset >= static_cast<std::int64_t>(data.size())) return 0;
  const std::size_t count = std::min(buffer.size(), data.size() - static_cast<std::size_t>(offset));
  std::memcpy(buffer.data(), data.data() + offset, count);
  return count;
}

}  // namespace

class MemoryFileSystem::Input : public platform::InputFile {
 public:
  explicit Input(std::string data) : data_(std::move(data)) {}
  std::size_t ReadAt(std::int64_t offset, std::span<char> buffer) override {
    return CopyBytes(data_, offset, buffer);
  }
  std::int64_t Length() const override { return static_cast<std::int64_t>(data_.size()); }

 private:
  std::string data_;
};

class MemoryFileSystem::Staged : public platform::StagedFile {
 public:
  Staged(MemoryFileSystem& files, std::string path, Node& parent, std::string name, Access access)
      : files_(files),
        path_(std::move(path)),
        parent_(parent),
        temporary_(std::move(name) + std::string(platform::kTemporaryMark)) {
    std::unique_ptr<Node> node = files_.NewNode(/*is_folder=*/false);
    node->access = access;
    node_ = node.get();
    parent_.children[temporary_] = std::move(node);
  }
  Staged(const Staged&) = delete;
  Staged& operator=(const Staged&) = delete;
  ~Staged() override {
    if (!committed_) parent_.children.erase(temporary_);
  }

  void Write(std::string_view bytes) override { WriteAt(Length(), bytes); }
  void WriteAt(std::int64_t offset, std::string_view bytes) override {
    files_.MayFail(Operation::kWrite, path_);
    const auto start = static_cast<std::size_t>(offset);
    if (node_->data.size() < start + bytes.size()) node_->data.resize(start + bytes.size());
    node_->data.replace(start, bytes.size(), bytes);
    files_.Touch(*node_);
  }
  std::size_t ReadAt(std::int64_t offset, std::span<char> buffer) override {
    return CopyBytes(node_->data, offset, buffer);
  }
  std::int64_t Length() const override { return static_cast<std::int64_t>(node_->data.size()); }
  void Commit() override {
    files_.MayFail(Operation::kCommit, path_);
    const Place place = files_.PlaceForWriting(path_);
    auto moved = parent_.children.extract(temporary_);
    if (place.node != nullptr) node_->access = place.node->access;
    parent_.children.erase(place.name);
    moved.key() = place.name;
    parent_.children.insert(std::move(moved));
    committed_ = true;
    files_.files_written.push_back(path_);
  }

 private:
  MemoryFileSystem& files_;
  std::string path_;
  Node& parent_;
  std::string temporary_;
  Node* node_;
  bool committed_ = false;
};

MemoryFileSystem::MemoryFileSystem(std::string folder)
    : folder_(std::move(folder)), root_(NewNode(/*is_folder=*/true)), outside_(NewNode(/*is_folder=*/true)) {}

MemoryFileSystem::~MemoryFileSystem() = default;

void MemoryFileSystem::Fail(Operation operation, std::string name, int number, int nth, int times) {
  failures_.push_back({operation, std::move(name), number, nth, nth + times - 1, 0});
}

void MemoryFileSystem::FailNothing() { failures_.clear(); }

void MemoryFileSystem::MayFail(Operation operation, const std::string& path) const {
  const bool changes = operation != Operation::kRead && operation != Operation::kLength;
  for (Failure& failure : failures_) {
    if (failure.operation != operation && !(changes && failure.operation == Operation::kAnyChange)) continue;
    if (!platform::MatchesWildcard(NameOf(path), failure.name)) continue;
    ++failure.seen;
    if (failure.seen >= failure.first && failure.seen <= failure.last) throw RuntimeError(failure.number);
  }
}

std::unique_ptr<MemoryFileSystem::Node> MemoryFileSystem::NewNode(bool is_folder) const {
  auto node = std::make_unique<Node>();
  node->is_folder = is_folder;
  node->stamp.identity = ++nodes_made_;
  Touch(*node);
  return node;
}

void MemoryFileSystem::Touch(Node& node) const {
  ticks_ += 1'000'000;
  node.stamp.modified = node.stamp.changed = ticks_;
  node.stamp.size = static_cast<std::int64_t>(node.data.size());
}

std::string MemoryFileSystem::FullPath(std::string_view path) const {
  return path.starts_with('\\') ? At(path) : std::string(path);
}

MemoryFileSystem::Place MemoryFileSystem::Find(std::string_view path) const {
  Place place;
  if (path.empty()) return place;
  const bool below =
      path.starts_with(folder_) && (path.size() == folder_.size() || IsSeparator(path[folder_.size()]));
  if (below) path.remove_prefix(folder_.size());
  place.ends_in_backslash = !path.empty() && IsSeparator(path.back());
  place.node = below ? root_.get() : outside_.get();
  place.name = below ? folder_.substr(folder_.find_last_of("\\/") + 1) : "";
  while (!path.empty()) {
    const std::size_t length = std::min(path.find_first_of("\\/"), path.size());
    const std::string_view component = path.substr(0, length);
    path.remove_prefix(std::min(length + 1, path.size()));
    if (component.empty()) continue;
    if (below && component == "..") place.refused = true;
    place.parent = place.IsFolder() ? place.node : nullptr;
    place.node = nullptr;
    place.name = component;
    if (place.parent == nullptr) continue;
    auto& children = place.parent->children;
    auto found = children.find(component);
    // The all-upper-case spelling is the first of all spellings in the order of listings.
    if (found == children.end() && below) found = children.lower_bound(AsciiUpper(component));
    if (found == children.end() || !platform::SameName(found->first, component)) continue;
    place.node = found->second.get();
    place.name = found->first;
  }
  if (place.refused) place.node = place.parent = nullptr;
  return place;
}

MemoryFileSystem::Node& MemoryFileSystem::FolderToPutIn(std::string_view path) {
  const bool below = path.starts_with(folder_);
  if (below) path.remove_prefix(folder_.size());
  Node* folder = below ? root_.get() : outside_.get();
  while (!path.empty()) {
    const std::size_t length = std::min(path.find_first_of("\\/"), path.size());
    const std::string component(path.substr(0, length));
    path.remove_prefix(std::min(length + 1, path.size()));
    if (component.empty()) continue;
    std::unique_ptr<Node>& next = folder->children[component];
    if (next == nullptr) next = NewNode(/*is_folder=*/true);
    if (!next->is_folder) throw RuntimeError(error_number::kPathNotFound);
    folder = next.get();
  }
  return *folder;
}

void MemoryFileSystem::PutFolder(std::string_view path) { FolderToPutIn(FullPath(path)); }

void MemoryFileSystem::Put(std::string_view path, std::string_view bytes) {
  const std::string full = FullPath(path);
  const std::size_t separator = full.find_last_of("\\/");
  Node& folder = FolderToPutIn(std::string_view(full).substr(0, separator));
  std::unique_ptr<Node>& node = folder.children[full.substr(separator + 1)];
  if (node == nullptr) node = NewNode(/*is_folder=*/false);
  node->data = bytes;
  Touch(*node);
}

void MemoryFileSystem::Remove(std::string_view path) {
  const Place place = Find(FullPath(path));
  if (place.node != nullptr && place.parent != nullptr) place.parent->children.erase(place.name);
}

std::string MemoryFileSystem::Text(std::string_view path) const {
  const Place place = Find(FullPath(path));
  return place.IsFile() ? place.node->data : std::string();
}

bool MemoryFileSystem::Has(std::string_view path) const {
  const Place place = Find(FullPath(path));
  return place.IsFile() && place.name == NameOf(path);
}

Access MemoryFileSystem::AccessOf(std::string_view path) const {
  const Place place = Find(FullPath(path));
  if (!place.IsFile()) throw RuntimeError(error_number::kFileNotFound);
  return place.node->access;
}

namespace {

template <typename Node>
void Walk(const Node& folder, const std::string& prefix, bool folders, std::vector<std::string>& found) {
  for (const auto& [name, child] : folder.children) {
    if (child->is_folder == folders) found.push_back(prefix + "\\" + name);
    if (child->is_folder) Walk(*child, prefix + "\\" + name, folders, found);
  }
}

}  // namespace

std::vector<std::string> MemoryFileSystem::Files() const {
  std::vector<std::string> found;
  Walk(*root_, "", /*folders=*/false, found);
  return found;
}

std::vector<std::string> MemoryFileSystem::Folders() const {
  std::vector<std::string> found;
  Walk(*root_, "", /*folders=*/true, found);
  return found;
}

std::string MemoryFileSystem::FindFile(const std::string& path) const {
  looked_up.push_back(path);
  const Place place = Find(path);
  return place.IsFile() ? place.name : std::string();
}

std::string MemoryFileSystem::FindFolder(const std::string& path) const {
  looked_up.push_back(path);
  const Place place = Find(path);
  return place.IsFolder() && !place.ends_in_backslash ? place.name : std::string();
}

std::vector<std::string> MemoryFileSystem::List(const std::string& pattern) const {
  listed.push_back(pattern);
  const std::string_view wanted = NameOf(pattern);
  const Place folder = Find(platform::FolderOf(pattern));
  std::vector<std::string> names;
  if (!folder.IsFolder()) return names;
  for (const auto& [name, child] : folder.node->children) {
    if (!child->is_folder && !name.starts_with('.') && platform::MatchesWildcard(name, wanted)) {
      names.push_back(name);
    }
  }
  return names;
}

std::vector<std::string> MemoryFileSystem::ListFolders(const std::string& path) const {
  listed.push_back(path);
  const Place folder = Find(path);
  std::vector<std::string> names;
  if (!folder.IsFolder()) return names;
  for (const auto& [name, child] : folder.node->children) {
    if (child->is_folder && !name.starts_with('.')) names.push_back(name);
  }
  return names;
}

std::vector<std::string> MemoryFileSystem::FindMarked(const std::string& folder,
                                                      std::string_view mark) const {
  listed.push_back(folder);
  std::vector<std::string> found;
  const Place place = Find(folder);
  if (place.IsFolder()) Walk(*place.node, folder, /*folders=*/false, found);
  std::erase_if(found,
                [&](const std::string& path) { return NameOf(path).find(mark) == std::string_view::npos; });
  return found;
}

std::int64_t MemoryFileSystem::Length(const std::string& path) const {
  MayFail(Operation::kLength, path);
  const Place place = Find(path);
  if (place.refused) throw RuntimeError(error_number::kPathFileAccess);
  if (!place.IsFile()) throw RuntimeError(error_number::kFileNotFound);
  return static_cast<std::int64_t>(place.node->data.size());
}

std::optional<platform::FileStamp> MemoryFileSystem::Stamp(const std::string& path) const {
  stamped.push_back(path);
  const Place place = Find(path);
  if (!place.IsFile()) return std::nullopt;
  return place.node->stamp;
}

MemoryFileSystem::Node& MemoryFileSystem::FileForReading(const std::string& path) const {
  files_read.push_back(path);
  MayFail(Operation::kRead, path);
  const Place place = Find(path);
  if (place.refused) throw RuntimeError(error_number::kPathFileAccess);
  if (place.IsFile()) return *place.node;
  const bool folder_missing = !path.empty() && place.parent == nullptr && place.node == nullptr;
  throw RuntimeError(folder_missing ? error_number::kPathNotFound : error_number::kFileNotFound);
}

std::string MemoryFileSystem::ReadAll(const std::string& path) const { return FileForReading(path).data; }

std::unique_ptr<platform::InputFile> MemoryFileSystem::OpenRead(const std::string& path) const {
  return std::make_unique<Input>(FileForReading(path).data);
}

MemoryFileSystem::Place MemoryFileSystem::PlaceForWriting(const std::string& path) const {
  Place place = Find(path);
  if (place.refused || path.empty() || place.IsFolder()) throw RuntimeError(error_number::kPathFileAccess);
  if (place.parent == nullptr || place.ends_in_backslash) throw RuntimeError(error_number::kPathNotFound);
  return place;
}

void MemoryFileSystem::Append(const std::string& path, std::string_view bytes, Access access) {
  const Place place = PlaceForWriting(path);
  MayFail(Operation::kWrite, path);
  std::unique_ptr<Node>& node = place.parent->children[place.name];
  if (node == nullptr) {
    node = NewNode(/*is_folder=*/false);
    node->access = access;
  }
  node->data += bytes;
  Touch(*node);
  files_written.push_back(path);
}

void MemoryFileSystem::AppendLimited(const std::string& path, std::string_view bytes, double limit,
                                     Access access) {
  const Place place = PlaceForWriting(path);
  if (place.node != nullptr && static_cast<double>(place.node->data.size()) > limit) Delete(path);
  Append(path, bytes, access);
}

std::unique_ptr<platform::StagedFile> MemoryFileSystem::Stage(const std::string& path, Access access) {
  const Place place = PlaceForWriting(path);
  MayFail(Operation::kStage, path);
  return std::make_unique<Staged>(*this, path, *place.parent, place.name, access);
}

void MemoryFileSystem::Delete(const std::string& path) {
  const Place place = Find(path);
  if (place.refused) throw RuntimeError(error_number::kPathFileAccess);
  if (!place.IsFile()) throw RuntimeError(error_number::kFileNotFound);
  MayFail(Operation::kDelete, path);
  place.parent->children.erase(place.name);
  files_deleted.push_back(path);
}

void MemoryFileSystem::RequireDeletable(const std::string& path) {
  const Place place = Find(path);
  if (place.refused) throw RuntimeError(error_number::kPathFileAccess);
  if (!place.IsFile()) throw RuntimeError(error_number::kFileNotFound);
  MayFail(Operation::kDelete, path);
}

bool MemoryFileSystem::Move(const std::string& source, const std::string& target) {
  const Place from = Find(source);
  const Place to = Find(target);
  const bool possible = from.IsFile() && to.parent != nullptr && to.node == nullptr && !to.ends_in_backslash;
  if (!possible) return false;
  try {
    MayFail(Operation::kMove, source);
  } catch (const RuntimeError&) {
    return false;
  }
  auto moved = from.parent->children.extract(from.name);
  moved.key() = to.name;
  to.parent->children.insert(std::move(moved));
  moves.emplace_back(source, target);
  return true;
}

bool MemoryFileSystem::MoveOver(const std::string& source, const std::string& target) {
  const Place from = Find(source);
  const Place to = Find(target);
  if (!from.IsFile() || !to.IsFile()) return false;
  try {
    MayFail(Operation::kMove, source);
    // What cannot be deleted cannot be replaced.
    MayFail(Operation::kDelete, target);
  } catch (const RuntimeError&) {
    return false;
  }
  auto moved = from.parent->children.extract(from.name);
  to.parent->children.erase(to.name);
  moved.key() = to.name;
  to.parent->children.insert(std::move(moved));
  moves.emplace_back(source, target);
  return true;
}

void MemoryFileSystem::MakeFolder(const std::string& path) {
  const Place place = Find(path);
  if (place.refused || path.empty() || place.node != nullptr) {
    throw RuntimeError(error_number::kPathFileAccess);
  }
  if (place.parent == nullptr) throw RuntimeError(error_number::kPathNotFound);
  MayFail(Operation::kMakeFolder, path);
  place.parent->children[place.name] = NewNode(/*is_folder=*/true);
  folders_made.push_back(path);
}

}  // namespace vlmr::test
