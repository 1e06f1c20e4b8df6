// The floor of the web server's measurements: the same HTTP library in the same mode, which reads a
// request and answers a fixed text.
//
//   fixed_answer PORT BYTES
#include <microhttpd.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

MHD_Result answer(void* text, MHD_Connection* connection, const char*, const char*, const char*,
                  const char*, std::size_t* size, void** seen) {
  static int head_read = 0;
  if (*seen == nullptr) {
    *seen = &head_read;
    return MHD_YES;
  }
  if (*size > 0) {
    *size = 0;
    return MHD_YES;
  }
  auto& body = *static_cast<std::string*>(text);
  MHD_Response* response =
      MHD_create_response_from_buffer(body.size(), body.data(), MHD_RESPMEM_PERSISTENT);
  (void)MHD_add_response_header(response, "Content-Type", "application/json");
  const MHD_Result queued = MHD_queue_response(connection, MHD_HTTP_OK, response);
  MHD_destroy_response(response);
  return queued;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::string body(std::strtoul(argv[2], nullptr, 10), 'x');
  MHD_Daemon* daemon = MHD_start_daemon(
      MHD_USE_THREAD_PER_CONNECTION | MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL | MHD_USE_ITC,
      static_cast<std::uint16_t>(std::strtoul(argv[1], nullptr, 10)), nullptr, nullptr, answer,
      &body, MHD_OPTION_END);
  if (daemon == nullptr) {
    (void)fprintf(stderr, "Port %s cannot be used.\n", argv[1]);
    return 1;
  }
  for (;;) pause();
}
