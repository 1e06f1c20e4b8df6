#include "web/options.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <iostream>

#include "base/file.h"
#include "web/listen.h"

namespace kavo {
namespace {

constexpr std::size_t kMaxPem = std::size_t{1} << 20;

struct Arguments {
  std::string listen;
  std::string certificate;
  std::string key;
};

// "ADDRESS", "ADDRESS:PORT" or "[ADDRESS]:PORT".
void set_listen(const std::string& text, Options& options) {
  std::string address = text;
  const std::size_t colon = text.rfind(':');
  const bool has_port = colon != std::string::npos && !canonical_address(text);
  if (has_port) {
    address = text.substr(0, colon);
    const std::string port = text.substr(colon + 1);
    const bool digits = !port.empty() && port.size() <= 5 &&
                        port.find_first_not_of("0123456789") == std::string::npos;
    if (!digits || std::stoi(port) > 65535) {
      throw WrongUse("--listen: \"" + port + "\" is not a port.");
    }
    options.port = std::stoi(port);
  }
  if (!canonical_address(address)) {
    throw WrongUse("--listen: \"" + address + "\" is not a numeric address.");
  }
  options.addresses = {address};
  if (!is_loopback_address(address) && !options.encryption && options.reached.proxy.empty()) {
    throw WrongUse(
        "Beyond the loopback, passwords would pass the network in plain text: give --certificate "
        "and --key, or name the reverse proxy in front with --proxy.");
  }
}

std::string read_pem(const std::string& file) {
  auto text = read_file(file, kMaxPem);
  if (!text) throw WrongUse("The file " + file + " cannot be read.");
  return std::move(*text);
}

void check(const Arguments& arguments, Options& options) {
  if (arguments.certificate.empty() != arguments.key.empty()) {
    throw WrongUse("--certificate and --key belong together.");
  }
  if (!arguments.certificate.empty()) {
    options.encryption = Encryption{read_pem(arguments.certificate), read_pem(arguments.key)};
  }
  if (!options.reached.proxy.empty()) {
    const auto proxy = canonical_address(options.reached.proxy);
    if (!proxy) {
      throw WrongUse("--proxy: \"" + options.reached.proxy + "\" is not a numeric address.");
    }
    options.reached.proxy = *proxy;
  }
  if (!arguments.listen.empty()) set_listen(arguments.listen, options);
  for (std::string& name : options.reached.names) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  }
}

}  // namespace

std::optional<Options> parse_options(int argc, char** argv) {
  Options options;
  Arguments arguments;
  CLI::App app("Serves the appliance's desktop and its API over HTTP", "kavo-webd");
  app.add_option("--port", options.port, "The port; 0 for any free one")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app.add_option("--listen", arguments.listen,
                 "ADDRESS[:PORT] to listen on instead of the loopback; beyond it only with a "
                 "certificate or a proxy");
  app.add_option("--certificate", arguments.certificate, "PEM file of the certificate chain");
  app.add_option("--key", arguments.key, "PEM file of the certificate's key");
  app.add_option("--proxy", options.reached.proxy,
                 "The address of a reverse proxy, which is believed who asks");
  app.add_option("--host", options.reached.names, "A name under which the server is reached");
  app.add_flag("--print-link", options.print_link, "Print a link that signs in once");
  app.add_flag("--verbose", options.verbose, "Log to standard error, too");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    app.exit(success);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw WrongUse(error.what());
  }
  check(arguments, options);
  options.print_link = options.print_link || isatty(STDOUT_FILENO) != 0;
  return options;
}

}  // namespace kavo
