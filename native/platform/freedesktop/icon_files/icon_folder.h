#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "file_descriptor.h"

namespace quill::freedesktop {

class IconFile;

/// A folder for icons that a panel reads as files. The destructor removes it. Only this user can read it. It lies in
/// the user's runtime directory, which is in memory, so that a write waits for no disk. Any thread.
class IconFolder : public std::enable_shared_from_this<IconFolder> {
 public:
  /// Null where there is no runtime directory, or one that panels do not see: a sandbox's own.
  static std::shared_ptr<IconFolder> make();
  /// Removes what processes that were killed have left behind.
  static void sweep();
  /// For make(), which has just made the folder.
  explicit IconFolder(std::string path);
  IconFolder(const IconFolder&) = delete;
  IconFolder& operator=(const IconFolder&) = delete;
  ~IconFolder();

  const std::string& path() const { return path_; }
  /// Writes `text`, or returns the file that already has that name, because a name belongs to one text. Null if the
  /// file cannot be written.
  std::shared_ptr<const IconFile> file(const std::string& name, std::string_view text);
  /// Removes the folder for good, unless another call is under way.
  void remove();

 private:
  friend class IconFile;
  bool write(const std::string& fileName, std::string_view text) const;
  void release(const std::string& name);

  const std::string path_;
  posix::FileDescriptor directory_;  // locked as long as the folder is in use
  std::mutex mutex_;                 // guards what follows
  bool isRemoved_;
  std::map<std::string, std::weak_ptr<const IconFile>> files_;
};

/// The folder that all items of the process share while a panel reads files. Any thread.
class IconFolders {
 public:
  /// The folder, which exists until its last owner releases it; null where none can be made.
  std::shared_ptr<IconFolder> open();
  /// Removes the folder for good, as the process ends.
  void close();
  /// Removes what killed processes left behind; does so the first time only.
  void sweepOnce();

 private:
  std::mutex mutex_;  // guards what follows
  bool isSwept_ = false;
  bool isClosed_ = false;
  std::weak_ptr<IconFolder> folder_;
};

/// One icon in a folder; its file is removed with the object.
class IconFile {
 public:
  IconFile(std::weak_ptr<IconFolder> folder, std::string name) : folder_(std::move(folder)), name_(std::move(name)) {}
  IconFile(const IconFile&) = delete;
  IconFile& operator=(const IconFile&) = delete;
  ~IconFile();

  /// As panels ask for it: without the file's ".svg".
  const std::string& name() const { return name_; }

 private:
  std::weak_ptr<IconFolder> folder_;
  std::string name_;
};

}  // namespace quill::freedesktop
