// The files of the desktop: its page, and the texts and assets that belong to it.
#pragma once

#include <sys/stat.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "web/http_message.h"

namespace kavo {

// The files below one folder, kept in memory while they stay the same. Any thread.
class StaticFiles {
 public:
  // `folder` is taken as it is.
  explicit StaticFiles(std::string folder) : folder_(std::move(folder)) {}

  // The answer for a path ("/", "/assets/page.js"): the file with its type, an ETag of its content,
  // and compressed when the request accepts that; 304 when the client has it already. Throws
  // Refused (404) for what is no regular file of a known type inside the folder, or is hidden.
  Answer answer(const HttpRequest& request, const std::string& path);

 private:
  struct File {
    struct stat status = {};
    const char* type = "";
    std::string hash;
    std::shared_ptr<const std::string> bytes;
    std::shared_ptr<const std::string> compressed;  // null when that gains nothing
  };

  std::shared_ptr<const File> find(const std::string& path);
  void keep(const std::string& path, const std::shared_ptr<const File>& file);

  const std::string folder_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<const File>> files_;
  std::size_t kept_bytes_ = 0;
};

}  // namespace kavo
