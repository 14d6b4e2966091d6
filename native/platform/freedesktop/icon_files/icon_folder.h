#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "file_descriptor.h"

namespace quill::freedesktop {

/// A folder for icons that a panel reads as files. The destructor removes it. Only this user can read it. It lies in
/// the user's runtime directory, which is in memory, so that a write waits for no disk. Main thread.
class IconFolder {
 public:
  /// The number of files that the folder keeps, because a panel may read an icon's name before the icon is replaced and
  /// open the file after it.
  static constexpr std::size_t kMaxFiles = 64;

  /// Also removes the folders of processes that were killed. Null where there is no runtime directory, or one that
  /// panels do not see: a sandbox's own.
  static std::shared_ptr<IconFolder> make();
  /// For make(), which has just made the folder.
  explicit IconFolder(std::string path);
  IconFolder(const IconFolder&) = delete;
  IconFolder& operator=(const IconFolder&) = delete;
  ~IconFolder() { remove(); }

  const std::string& path() const { return path_; }
  /// Makes `name` the newest file, with `text`, and removes the oldest beyond kMaxFiles. Writes nothing if the folder
  /// has the file, because a name belongs to one text. False if the file cannot be written.
  bool write(const std::string& name, std::string_view text);
  /// Removes the folder for good. Any thread.
  void remove() const;

 private:
  bool writeNew(const std::string& name, std::string_view text) const;

  const std::string path_;
  posix::FileDescriptor directory_;  // locked as long as the folder is in use
  std::deque<std::string> names_;    // of the files, the oldest first
};

/// The folder that all items of the process share while a panel reads files. Any thread.
class IconFolders {
 public:
  /// The folder, which exists until its last owner releases it; null where none can be made.
  std::shared_ptr<IconFolder> open();
  /// Removes the folder for good, as the process ends.
  void close();

 private:
  std::mutex mutex_;  // guards what follows
  bool isClosed_ = false;
  std::weak_ptr<IconFolder> folder_;
};

}  // namespace quill::freedesktop
