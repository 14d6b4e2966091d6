#include "icon_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
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

/// The runtime directory where panels find it under the same path; empty: they do not.
std::optional<std::string> sharedRuntimeDirectory() { return isSandboxed() ? std::nullopt : runtimeDirectory(); }

int openDirectory(const std::string& path) {
  return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool lock(const posix::FileDescriptor& directory) {
  return directory.isOpen() && flock(directory.number(), LOCK_EX | LOCK_NB) == 0;
}

/// False for a folder that was swept away before it was locked.
bool isLinked(const posix::FileDescriptor& directory) {
  struct stat status {};
  return fstat(directory.number(), &status) == 0 && status.st_nlink > 0;
}

void removeFolder(const std::filesystem::path& path) {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

}  // namespace

std::shared_ptr<IconFolder> IconFolder::make() {
  const auto runtimeDirectory = sharedRuntimeDirectory();
  if (!runtimeDirectory) return nullptr;
  for (int attempt = 0; attempt < kMakeAttempts; ++attempt) {
    auto path = *runtimeDirectory + '/' + std::string(kPrefix) + "XXXXXX";
    if (mkdtemp(path.data()) == nullptr) return nullptr;
    auto folder = std::make_shared<IconFolder>(path);
    if (!folder->isRemoved_) return folder;
    rmdir(path.c_str());
  }
  return nullptr;
}

void IconFolder::sweep() {
  const auto runtimeDirectory = sharedRuntimeDirectory();
  if (!runtimeDirectory) return;
  std::error_code error;
  std::filesystem::directory_iterator entries(*runtimeDirectory, error);
  for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
    const auto& path = entries->path();
    if (!path.filename().string().starts_with(kPrefix)) continue;
    const posix::FileDescriptor directory(openDirectory(path));
    struct stat status {};
    if (lock(directory) && fstat(directory.number(), &status) == 0 && status.st_uid == geteuid()) removeFolder(path);
  }
}

IconFolder::IconFolder(std::string path)
    : path_(std::move(path)),
      directory_(openDirectory(path_)),
      isRemoved_(!lock(directory_) || !isLinked(directory_)) {}

IconFolder::~IconFolder() { remove(); }

void IconFolder::remove() {
  const std::unique_lock lock(mutex_, std::try_to_lock);  // the process may exit from inside another call
  if (lock && !std::exchange(isRemoved_, true)) removeFolder(path_);
}

std::shared_ptr<const IconFile> IconFolder::file(const std::string& name, std::string_view text) {
  const std::lock_guard lock(mutex_);
  if (isRemoved_) return nullptr;
  auto& known = files_[name];
  if (auto file = known.lock()) return file;
  if (!write(name + kSuffix, text)) {
    files_.erase(name);
    return nullptr;
  }
  auto file = std::make_shared<const IconFile>(weak_from_this(), name);
  known = file;
  return file;
}

bool IconFolder::write(const std::string& fileName, std::string_view text) const {
  const int folder = directory_.number();
  {
    const auto file = posix::openFile(folder, kUnfinished, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (!file.isOpen()) return false;
    if (posix::writeWithoutSignals(file.number(), text) == static_cast<ssize_t>(text.size()) &&
        renameat(folder, kUnfinished, folder, fileName.c_str()) == 0) {
      return true;
    }
  }
  unlinkat(folder, kUnfinished, 0);
  return false;
}

void IconFolder::release(const std::string& name) {
  const std::lock_guard lock(mutex_);
  const auto known = files_.find(name);
  if (isRemoved_ || known == files_.end() || !known->second.expired()) return;  // written again in the meantime
  files_.erase(known);
  unlinkat(directory_.number(), (name + kSuffix).c_str(), 0);
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

void IconFolders::sweepOnce() {
  const std::lock_guard lock(mutex_);
  if (!std::exchange(isSwept_, true)) IconFolder::sweep();
}

IconFile::~IconFile() {
  if (const auto folder = folder_.lock()) folder->release(name_);
}

}  // namespace quill::freedesktop
