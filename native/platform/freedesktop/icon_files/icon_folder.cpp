#include "icon_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "sandbox.h"
#include "write_without_signals.h"

namespace quill::freedesktop {
namespace {

constexpr std::string_view kPrefix = "quill-tray-";
constexpr auto kSuffix = ".svg";
constexpr auto kUnfinished = "unfinished";
/// Before a new folder is locked, a process that starts may take it for one left behind and remove it.
constexpr int kMakeAttempts = 4;

int openDirectory(const std::string& path) {
  return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/// False for a folder that another process uses, and for one that was removed before it was locked.
bool lock(const posix::FileDescriptor& directory) {
  struct stat status {};
  return directory.isOpen() && flock(directory.number(), LOCK_EX | LOCK_NB) == 0 &&
         fstat(directory.number(), &status) == 0 && status.st_nlink > 0 && status.st_uid == geteuid();
}

void removeFolder(const std::filesystem::path& path) {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

/// Removes what processes that were killed have left behind.
void sweep(const std::string& runtimeDirectory) {
  std::error_code error;
  std::filesystem::directory_iterator entries(runtimeDirectory, error);
  for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
    const auto& path = entries->path();
    if (!path.filename().string().starts_with(kPrefix)) continue;
    if (const posix::FileDescriptor directory(openDirectory(path)); lock(directory)) removeFolder(path);
  }
}

}  // namespace

std::shared_ptr<IconFolder> IconFolder::make() {
  const auto directory = runtimeDirectory();
  if (isSandboxed() || !directory) return nullptr;
  sweep(*directory);
  for (int attempt = 0; attempt < kMakeAttempts; ++attempt) {
    auto path = *directory + '/' + std::string(kPrefix) + "XXXXXX";
    if (mkdtemp(path.data()) == nullptr) return nullptr;
    auto folder = std::make_shared<IconFolder>(path);
    if (lock(folder->directory_)) return folder;
  }
  return nullptr;
}

IconFolder::IconFolder(std::string path) : path_(std::move(path)), directory_(openDirectory(path_)) {}

void IconFolder::remove() const { removeFolder(path_); }

bool IconFolder::write(const std::string& name, std::string_view text) {
  const auto known = std::ranges::find(names_, name);
  if (known == names_.end() && !writeNew(name, text)) return false;
  if (known != names_.end()) names_.erase(known);
  names_.push_back(name);
  if (names_.size() > kMaxFiles) {
    unlinkat(directory_.number(), (names_.front() + kSuffix).c_str(), 0);
    names_.pop_front();
  }
  return true;
}

bool IconFolder::writeNew(const std::string& name, std::string_view text) const {
  const int folder = directory_.number();
  {
    const auto file = posix::openFile(folder, kUnfinished, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (!file.isOpen()) return false;
    if (posix::writeWithoutSignals(file.number(), text) == static_cast<ssize_t>(text.size()) &&
        renameat(folder, kUnfinished, folder, (name + kSuffix).c_str()) == 0) {
      return true;
    }
  }
  unlinkat(folder, kUnfinished, 0);
  return false;
}

std::shared_ptr<IconFolder> IconFolders::open() {
  const std::lock_guard lock(mutex_);
  if (isClosed_) return nullptr;
  auto folder = folder_.lock();
  if (!folder) folder_ = folder = IconFolder::make();
  return folder;
}

void IconFolders::close() {
  // A host may exit from inside another call here. The next start then removes the folder.
  const std::unique_lock lock(mutex_, std::try_to_lock);
  if (!lock) return;
  isClosed_ = true;
  if (const auto folder = folder_.lock()) folder->remove();
}

}  // namespace quill::freedesktop
