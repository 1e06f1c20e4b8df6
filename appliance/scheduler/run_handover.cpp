#include "scheduler/run_handover.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string>
#include <utility>

namespace kavo {
namespace {

constexpr std::size_t kDescriptors = 2;
constexpr std::size_t kMostOfRun = 140 << 10;
constexpr std::size_t kMostOfReport = 16 << 10;  // a longer one is the runner's own to record
constexpr timeval kPatience = {10, 0};           // with a scheduler that has got a report
constexpr int kNoCode = -1;
const std::string kRecorded = "recorded";

// A packet with room for the descriptors.
struct Packet {
  explicit Packet(std::int64_t& run_id) : bytes{&run_id, sizeof run_id} {
    header.msg_iov = &bytes;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
  }

  iovec bytes;
  alignas(cmsghdr) std::array<char, CMSG_SPACE(kDescriptors * sizeof(int))> control{};
  msghdr header = {};
};

// A packet of fields, none of which but the last holds a zero byte.
class Fields {
 public:
  Fields() = default;
  explicit Fields(std::string text) : text_(std::move(text)) {}

  void add(const std::string& field) { text_ += field + '\0'; }
  void add_last(const std::string& field) { text_ += field; }
  std::string next() {
    const std::size_t end = std::min(text_.find('\0', at_), text_.size());
    std::string field = text_.substr(at_, end - at_);
    at_ = std::min(end + 1, text_.size());
    return field;
  }
  template <typename Number>
  Number next_number() {
    const std::string field = next();
    Number number = 0;
    std::from_chars(field.data(), field.data() + field.size(), number);
    return number;
  }
  std::string last() const { return text_.substr(at_); }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
  std::size_t at_ = 0;
};

bool send_packet(const Line& line, const std::string& bytes) {
  return send(line.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
}

// The next packet; empty when there is none, or only a part of it fits.
std::string receive_packet(const Line& line, std::size_t most) {
  std::string bytes(most, '\0');
  const ssize_t size = recv(line.get(), bytes.data(), bytes.size(), MSG_TRUNC);
  bytes.resize(size < 0 || size > static_cast<ssize_t>(most) ? 0 : static_cast<std::size_t>(size));
  return bytes;
}

}  // namespace

bool send_request(int socket, std::int64_t run_id, int lock, int line) {
  const std::array<int, kDescriptors> descriptors = {lock, line};
  Packet packet(run_id);
  cmsghdr* part = CMSG_FIRSTHDR(&packet.header);
  part->cmsg_level = SOL_SOCKET;
  part->cmsg_type = SCM_RIGHTS;
  part->cmsg_len = CMSG_LEN(sizeof descriptors);
  memcpy(CMSG_DATA(part), descriptors.data(), sizeof descriptors);
  return sendmsg(socket, &packet.header, MSG_NOSIGNAL) >= 0;
}

std::optional<RunnerRequest> receive_request(int socket) {
  RunnerRequest request;
  Packet packet(request.run_id);
  if (recvmsg(socket, &packet.header, MSG_CMSG_CLOEXEC) != sizeof request.run_id) {
    return std::nullopt;
  }
  const cmsghdr* part = CMSG_FIRSTHDR(&packet.header);
  if (part != nullptr && part->cmsg_type == SCM_RIGHTS) {
    std::array<int, kDescriptors> descriptors = {-1, -1};
    memcpy(descriptors.data(), CMSG_DATA(part), part->cmsg_len - CMSG_LEN(0));
    request.lock = Descriptor(descriptors[0]);
    request.line = Descriptor(descriptors[1]);
  }
  return request;
}

void hand_over(const Line& line, const Run& run) {
  Fields fields;
  fields.add(std::to_string(run.id));
  fields.add(std::to_string(run.task_id));
  fields.add(std::to_string(run.time_limit));
  fields.add(run.owner);
  fields.add(run.task_name);
  fields.add(run.command);
  if (fields.text().size() > kMostOfRun || !send_packet(line, fields.text())) {
    leave_alone(line);
  }
}

void leave_alone(const Line& line) {
  (void)shutdown(line.get(), SHUT_WR);
}

std::optional<RunEnd> receive_report(const Line& line) {
  Fields fields(receive_packet(line, kMostOfReport));
  if (fields.text().empty()) {
    return std::nullopt;
  }
  RunEnd end;
  end.result = fields.next();
  if (const int code = fields.next_number<int>(); code != kNoCode) {
    end.code = code;
  }
  end.note = fields.next();
  end.output_position = fields.next_number<std::size_t>();
  end.output = fields.last();
  return end;
}

void acknowledge(const Line& line) {
  (void)send_packet(line, kRecorded);
}

std::optional<Run> take_over(const Line& line) {
  Fields fields(receive_packet(line, kMostOfRun));
  if (fields.text().empty()) {
    return std::nullopt;
  }
  Run run;
  run.id = fields.next_number<std::int64_t>();
  run.task_id = fields.next_number<int>();
  run.time_limit = fields.next_number<int>();
  run.owner = fields.next();
  run.task_name = fields.next();
  run.command = fields.next();
  return run;
}

bool report(const Line& line, const RunEnd& end) {
  Fields fields;
  fields.add(end.result);
  fields.add(std::to_string(end.code.value_or(kNoCode)));
  fields.add(end.note);
  fields.add(std::to_string(end.output_position));
  fields.add_last(end.output);
  setsockopt(line.get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
  return fields.text().size() <= kMostOfReport && send_packet(line, fields.text()) &&
         receive_packet(line, kRecorded.size()) == kRecorded;
}

}  // namespace kavo
