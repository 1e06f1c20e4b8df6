// What is read from a request's head.
#include "web/request_check.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

std::string decoded(const std::string& target) {
  try {
    return kavo::decode_path(target);
  } catch (const kavo::Refused& refused) {
    return std::to_string(refused.answer().status);
  }
}

TEST(RequestCheck, PathsAreDecodedOnceAndStrictly) {
  for (const auto& [target, path] :
       {std::pair("/", "/"), std::pair("/a%20b%C3%A4", "/a bä"), std::pair("/%2e%2E/x", "/../x"),
        std::pair("/%252e", "/%2e"), std::pair("", "400"), std::pair("a", "400"),
        std::pair("*", "400"), std::pair("http://localhost/", "400"), std::pair("/%", "400"),
        std::pair("/%4", "400"), std::pair("/%g0", "400"), std::pair("/%00", "400"),
        std::pair("/a%0d%0ab", "400"), std::pair("/%7f", "400"), std::pair("/%ff", "400"),
        std::pair("/%c0%af", "400"), std::pair("/%ed%a0%80", "400")}) {
    EXPECT_EQ(decoded(target), path) << target;
  }
}

TEST(RequestCheck, BestLanguageOfTheBrowsersList) {
  const std::vector<std::string> installed = {"de-DE", "en-US", "fr-CA", "fr-FR"};
  for (const auto& [accepted, best] :
       {std::pair("de-DE", "de-DE"), std::pair("DE-de", "de-DE"), std::pair("de-AT, en", "de-DE"),
        std::pair("fr-FR", "fr-FR"), std::pair("fr", "fr-CA"),
        std::pair("en;q=0.5, de;q=0.6", "de-DE"), std::pair("en;q=0.59, de;q=0.6", "de-DE"),
        std::pair("fr;q=0, de;q=0.001", "de-DE"), std::pair("de;q=0", "en-US"),
        std::pair("de;q=x, fr;q=0.1", "fr-CA"), std::pair("", "en-US"), std::pair(",;,", "en-US"),
        std::pair("*", "en-US"), std::pair("../../etc", "en-US"), std::pair("xx, de", "de-DE")}) {
    EXPECT_EQ(kavo::best_language(accepted, installed), best) << accepted;
  }
  EXPECT_EQ(kavo::best_language("de", {}), "en-US");
}

TEST(RequestCheck, OnlyTheNamedProxyIsBelieved) {
  const kavo::Reached behind_proxy = {{}, "10.0.0.1"};
  for (const auto& [peer, forwarded, scheme, address, secure] :
       {std::tuple("10.0.0.1", "192.0.2.7", "https", "192.0.2.7", true),
        std::tuple("10.0.0.1", "203.0.113.9, 192.0.2.7", "HTTPS", "192.0.2.7", true),
        std::tuple("10.0.0.1", "", "http", "10.0.0.1", false),
        std::tuple("10.0.0.1", "192.0.2.7, unknown", "http", "10.0.0.1", false),
        std::tuple("10.0.0.1", "2001:DB8:0::7", "http", "2001:db8::7", false),
        std::tuple("10.0.0.2", "192.0.2.7", "https", "10.0.0.2", false)}) {
    kavo::HttpRequest request;
    request.peer = peer;
    request.headers = {{"x-forwarded-for", forwarded}, {"X-Forwarded-Proto", scheme}};
    const kavo::Client client = kavo::client_of(request, behind_proxy);
    EXPECT_EQ(client.address, address) << forwarded;
    EXPECT_EQ(client.secure, secure) << scheme;
    EXPECT_EQ(kavo::client_of(request, {}).address, peer);
  }
}

}  // namespace
