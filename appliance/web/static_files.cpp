#include "web/static_files.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sodium.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "base/descriptor.h"

namespace kavo {
namespace {

constexpr off_t kMaxFile = off_t{8} << 20;
constexpr std::size_t kMaxKept = std::size_t{32} << 20;

struct Type {
  std::string_view extension;
  const char* media;
  bool compressible;
};
// Files of other kinds are not served.
constexpr std::array kTypes = {
    Type{".html", "text/html; charset=utf-8", true},
    Type{".js", "text/javascript; charset=utf-8", true},
    Type{".mjs", "text/javascript; charset=utf-8", true},
    Type{".css", "text/css; charset=utf-8", true},
    Type{".json", "application/json", true},
    Type{".map", "application/json", true},
    Type{".webmanifest", "application/manifest+json", true},
    Type{".svg", "image/svg+xml", true},
    Type{".txt", "text/plain; charset=utf-8", true},
    Type{".png", "image/png", false},
    Type{".jpg", "image/jpeg", false},
    Type{".webp", "image/webp", false},
    Type{".ico", "image/x-icon", false},
    Type{".woff2", "font/woff2", false},
    Type{".woff", "font/woff", false},
    Type{".ttf", "font/ttf", true},
};

const Type* type_of(std::string_view path) {
  const auto found = std::find_if(kTypes.begin(), kTypes.end(),
                                  [&](const Type& type) { return path.ends_with(type.extension); });
  return found == kTypes.end() ? nullptr : &*found;
}

// What is meant for the appliance rather than for the page.
bool is_hidden(std::string_view path) {
  return path.find("/.") != std::string_view::npos || path.ends_with("/manifest.json");
}

Descriptor open_inside(const std::string& folder, const std::string& relative) {
  const Descriptor root(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  open_how how = {};
  how.flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  return Descriptor(
      static_cast<int>(syscall(SYS_openat2, root.get(), relative.c_str(), &how, sizeof how)));
}

bool same_file(const struct stat& a, const struct stat& b) {
  return a.st_ino == b.st_ino && a.st_dev == b.st_dev && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

std::string read_all(int file, off_t size) {
  std::string bytes(static_cast<std::size_t>(size), '\0');
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = read(file, bytes.data() + done, bytes.size() - done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  bytes.resize(done);
  return bytes;
}

std::shared_ptr<const std::string> compress_gzip(const std::string& bytes) {
  constexpr int kWindowOfGzip = 15 + 16;
  z_stream stream = {};
  if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kWindowOfGzip, 9, Z_DEFAULT_STRATEGY) !=
      Z_OK) {
    return nullptr;
  }
  std::string compressed(deflateBound(&stream, bytes.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
  stream.avail_out = static_cast<uInt>(compressed.size());
  const bool whole = deflate(&stream, Z_FINISH) == Z_STREAM_END;
  compressed.resize(stream.total_out);
  deflateEnd(&stream);
  const bool gains = whole && compressed.size() < bytes.size();
  return gains ? std::make_shared<const std::string>(std::move(compressed)) : nullptr;
}

std::string hash_of(const std::string& bytes) {
  std::array<unsigned char, crypto_generichash_BYTES_MIN> hash = {};
  crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(bytes.data()),
                     bytes.size(), nullptr, 0);
  std::array<char, 2 * hash.size() + 1> text = {};
  return sodium_bin2hex(text.data(), text.size(), hash.data(), hash.size());
}

// Whether one of the elements of a header, without its parameters, is `word`.
bool has_element(const std::string* header, std::string_view word) {
  std::string_view rest = header == nullptr ? std::string_view() : std::string_view(*header);
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(','), rest.size());
    std::string_view element = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    element.remove_prefix(std::min(element.find_first_not_of(" \t"), element.size()));
    const std::size_t parameter = std::min(element.find(';'), element.size());
    const bool unwanted = element.substr(parameter).find("q=0") != std::string_view::npos &&
                          element.substr(parameter).find("q=0.") == std::string_view::npos;
    element = element.substr(0, std::min(element.find_first_of("; \t"), element.size()));
    element.remove_prefix(element.starts_with("W/") ? 2 : 0);
    if (element == word && !unwanted) return true;
  }
  return false;
}

[[noreturn]] void not_found() {
  throw Refused(404, "There is nothing under this path.");
}

}  // namespace

Answer StaticFiles::answer(const HttpRequest& request, const std::string& path) {
  const std::shared_ptr<const File> file = find(path == "/" ? "/index.html" : path);
  const bool compressed =
      file->compressed != nullptr && has_element(request.header("Accept-Encoding"), "gzip");
  const std::string tag = "\"" + file->hash + (compressed ? "-gz\"" : "\"");
  const bool immutable = path.starts_with("/assets/");
  Answer answer;
  answer.headers = {
      {"ETag", tag},
      {"Cache-Control", immutable ? "public, max-age=31536000, immutable" : "no-cache"}};
  if (file->compressed != nullptr) answer.headers.emplace_back("Vary", "Accept-Encoding");
  const std::string* known = request.header("If-None-Match");
  if (has_element(known, tag) || has_element(known, "*")) {
    answer.status = 304;
    answer.body = std::make_shared<const std::string>();
    return answer;
  }
  answer.headers.emplace_back("Content-Type", file->type);
  if (compressed) answer.headers.emplace_back("Content-Encoding", "gzip");
  answer.body = compressed ? file->compressed : file->bytes;
  return answer;
}

std::shared_ptr<const StaticFiles::File> StaticFiles::find(const std::string& path) {
  const Type* type = type_of(path);
  if (type == nullptr || is_hidden(path)) not_found();
  const Descriptor opened = open_inside(folder_, path.substr(1));
  auto file = std::make_shared<File>();
  if (!opened.valid() || fstat(opened.get(), &file->status) != 0 ||
      !S_ISREG(file->status.st_mode) || file->status.st_size > kMaxFile) {
    not_found();
  }
  {
    const std::lock_guard lock(mutex_);
    const auto kept = files_.find(path);
    if (kept != files_.end() && same_file(kept->second->status, file->status)) return kept->second;
  }
  file->type = type->media;
  file->bytes = std::make_shared<const std::string>(read_all(opened.get(), file->status.st_size));
  file->hash = hash_of(*file->bytes);
  if (type->compressible) file->compressed = compress_gzip(*file->bytes);
  keep(path, file);
  return file;
}

void StaticFiles::keep(const std::string& path, const std::shared_ptr<const File>& file) {
  const std::size_t size =
      file->bytes->size() + (file->compressed == nullptr ? 0 : file->compressed->size());
  const std::lock_guard lock(mutex_);
  if (kept_bytes_ + size > kMaxKept) {
    files_.clear();
    kept_bytes_ = 0;
  }
  files_.insert_or_assign(path, file);
  kept_bytes_ += size;
}

}  // namespace kavo
