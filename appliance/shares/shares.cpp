#include "shares/shares.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <set>
#include <string_view>

#include <json/json.h>

#include <kavoshare.h>
#include "base/descriptor.h"
#include "base/file.h"
#include "base/root.h"
#include "base/strict_json.h"
#include "base/utf8.h"
#include "shares/errors.h"

namespace kavo {
namespace {

constexpr const char* kSharesFile = "/etc/kavo/shares.json";
constexpr size_t kMaxFileSize = size_t{16} << 20;
constexpr unsigned int kEveryShare = 0x30F;

bool is_share_name(std::string_view name) {
  return !name.empty() && name.size() <= 255 && name.front() != '-' && name != "." &&
         name != ".." && name.find('/') == std::string_view::npos && is_clean_text(name);
}

bool is_share_path(std::string_view path) {
  if (!path.starts_with('/') || !is_clean_text(path)) return false;
  while (!path.empty()) {
    path.remove_prefix(1);
    const std::string_view part = path.substr(0, path.find('/'));
    if (part.empty() || part == "." || part == "..") return false;
    path.remove_prefix(part.size());
  }
  return true;
}

// The reason why `document` breaks a rule of shares.h, or null.
const char* find_fault(const Json::Value& document) {
  if (!document.isObject() || !document["shares"].isArray()) return "it has no list \"shares\"";
  std::set<std::string> names;
  for (const Json::Value& share : document["shares"]) {
    if (!share.isObject()) return "a share is not an object";
    if (!share["name"].isString() || !is_share_name(share["name"].asString())) {
      return "a share has no valid name";
    }
    if (!share["path"].isString() || !is_share_path(share["path"].asString())) {
      return "a share has no valid path";
    }
    if (!share["recycle_bin"].isNull() && !share["recycle_bin"].isBool()) {
      return "a \"recycle_bin\" is not true or false";
    }
    if (!names.insert(share["name"].asString()).second) return "two shares have the same name";
  }
  return nullptr;
}

// The file of shares. Where a link stands in its place, the file that it leads to: that is the one
// to be replaced, in its own folder.
std::string shares_file() {
  const std::filesystem::path path = rooted(kSharesFile);
  std::error_code error;
  const std::filesystem::path target = std::filesystem::read_symlink(path, error);
  return error ? path : path.parent_path() / target;
}

// The file of shares, checked; an empty list when there is no file.
std::optional<Json::Value> read_document(std::string* why) {
  const auto fail = [why](int code, int line, const std::string& reason) {
    XLIBCErrSetEx(code, __FILE_NAME__, line);
    if (why != nullptr) *why = std::string(kSharesFile) + ": " + reason;
    return std::nullopt;
  };
  const std::string path = rooted(kSharesFile);
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0 && errno == ENOENT) {
    Json::Value empty(Json::objectValue);
    empty["shares"] = Json::Value(Json::arrayValue);
    return empty;
  }
  const std::optional<std::string> text = read_file(path, kMaxFileSize);
  if (!text) return fail(kSharesUnreadable, __LINE__, "cannot be read");
  std::optional<Json::Value> document = parse_strict_json(*text);
  if (!document) return fail(kSharesBroken, __LINE__, "is not JSON");
  if (const char* fault = find_fault(*document)) {
    return fail(kSharesBroken, __LINE__, fault);
  }
  return document;
}

bool write_all(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

// Held by whoever changes the file of shares, until it is destroyed: a file beside it, because the
// file itself is replaced.
Descriptor lock_shares() {
  Descriptor lock = open_shared_file(shares_file() + ".lock");
  if (!lock.valid()) return lock;
  while (flock(lock.get(), LOCK_EX) != 0) {
    if (errno != EINTR) return Descriptor();
  }
  return lock;
}

// Replaces the file of shares by `document`, with the same permissions, and the same owner where
// the system lets it have that. The old file or the new one is there at any moment, a loss of power
// included. For the holder of the lock only.
bool store(const Json::Value& document) {
  const std::string path = shares_file();
  const std::string fresh = path + ".new";
  struct stat old = {};
  const bool replaces = stat(path.c_str(), &old) == 0;
  const mode_t mode = replaces ? old.st_mode & 0777 : 0644;

  Json::StreamWriterBuilder writer;
  writer["indentation"] = "  ";
  writer["emitUTF8"] = true;
  unlink(fresh.c_str());  // what an interrupted change has left
  const Descriptor file(
      open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (file.valid() && replaces) (void)!fchown(file.get(), old.st_uid, old.st_gid);
  const bool written = file.valid() &&
                       write_all(file.get(), Json::writeString(writer, document) + "\n") &&
                       fchmod(file.get(), mode) == 0 && fsync(file.get()) == 0 &&
                       rename(fresh.c_str(), path.c_str()) == 0;
  if (!written) {
    unlink(fresh.c_str());
    return false;
  }
  const std::string parent = std::filesystem::path(path).parent_path();
  const Descriptor folder(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return folder.valid() && fsync(folder.get()) == 0;
}

int fail(int code, int line) {
  XLIBCErrSetEx(code, __FILE_NAME__, line);
  return -1;
}

}  // namespace

std::optional<std::vector<Share>> read_shares(std::string* why) {
  const std::optional<Json::Value> document = read_document(why);
  if (!document) return std::nullopt;
  std::vector<Share> shares;
  for (const Json::Value& share : (*document)["shares"]) {
    shares.push_back(
        {share["name"].asString(), share["path"].asString(), share["recycle_bin"].asBool()});
  }
  std::sort(shares.begin(), shares.end(),
            [](const Share& a, const Share& b) { return a.name < b.name; });
  return shares;
}

}  // namespace kavo

int KAVOShareEnum(XLIBCSzList** list, unsigned int flags) {
  if (list == nullptr || *list == nullptr) {
    return kavo::fail(kavo::kShareInvalidArgument, __LINE__);
  }
  if ((flags & kavo::kEveryShare) == 0) return 0;
  const std::optional<std::vector<kavo::Share>> shares = kavo::read_shares();
  if (!shares) return -1;
  for (const kavo::Share& share : *shares) {
    if (XLIBCSzListPush(list, share.name.c_str()) < 0) return -1;
  }
  return static_cast<int>(shares->size());
}

int KAVORecycleStatusSet(const char* name, int status) {
  if (name == nullptr || (status != 0 && status != 1)) {
    return kavo::fail(kavo::kShareInvalidArgument, __LINE__);
  }
  const kavo::Descriptor lock = kavo::lock_shares();
  if (!lock.valid()) return kavo::fail(kavo::kSharesNotStored, __LINE__);
  std::optional<Json::Value> document = kavo::read_document(nullptr);
  if (!document) return -1;
  Json::Value& shares = (*document)["shares"];
  const auto share = std::find_if(shares.begin(), shares.end(), [name](const Json::Value& each) {
    return each["name"].asString() == name;
  });
  if (share == shares.end()) return kavo::fail(kavo::kShareUnknown, __LINE__);
  if ((*share)["recycle_bin"].asBool() == (status == 1)) return 0;
  (*share)["recycle_bin"] = status == 1;
  if (!kavo::store(*document)) return kavo::fail(kavo::kSharesNotStored, __LINE__);
  return 0;
}
