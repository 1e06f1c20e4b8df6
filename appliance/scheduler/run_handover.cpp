#include "scheduler/run_handover.h"

#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string>
#include <vector>

namespace kavo {
namespace {

constexpr std::size_t kDescriptors = 2;
constexpr std::size_t kFields = 6;

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

void append(std::string& text, const std::string& field) {
  text += field;
  text += '\0';  // which no text of a task holds
}

std::vector<std::string> fields_of(const std::string& text) {
  std::vector<std::string> fields;
  for (std::size_t at = 0, end = 0; (end = text.find('\0', at)) != std::string::npos;
       at = end + 1) {
    fields.push_back(text.substr(at, end - at));
  }
  return fields;
}

template <typename Number>
void read_number(const std::string& text, Number& number) {
  std::from_chars(text.data(), text.data() + text.size(), number);
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

void hand_over(Descriptor line, const Run& run) {
  std::string text;
  append(text, std::to_string(run.id));
  append(text, std::to_string(run.task_id));
  append(text, std::to_string(run.time_limit));
  append(text, run.task_name);
  append(text, run.owner);
  append(text, run.command);
  (void)send(line.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

std::optional<Run> take_over(const Descriptor& line) {
  std::string text;
  std::array<char, 4096> buffer;
  for (ssize_t count = 0; (count = read(line.get(), buffer.data(), buffer.size())) != 0;) {
    if (count > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
  const std::vector<std::string> fields = fields_of(text);
  if (fields.size() != kFields) {
    return std::nullopt;
  }
  Run run;
  read_number(fields[0], run.id);
  read_number(fields[1], run.task_id);
  read_number(fields[2], run.time_limit);
  run.task_name = fields[3];
  run.owner = fields[4];
  run.command = fields[5];
  return run;
}

}  // namespace kavo
