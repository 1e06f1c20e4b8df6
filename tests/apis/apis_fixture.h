// The appliance's own module, loaded as the server loads it, over a real store. APPLIANCE_MODULE
// comes from the build.
#pragma once

#include "store/store_fixture.h"
#include "web/module.h"

class ApisTest : public StoreTest {
 protected:
  ApisTest() {
    root_.write("usr/kavo/lib/webapi/.keep", "");
    std::filesystem::create_symlink(APPLIANCE_MODULE,
                                    root_.path() / "usr/kavo/lib/webapi/appliance.so");
  }

  // The whole answer of a method of "KAVO.Appliance.<api>".
  static Json::Value answer(const std::string& api, const std::string& method,
                            const Json::Value& parameters = Json::objectValue) {
    static const kavo::Modules modules(kavo::module_folder());
    EXPECT_THAT(modules.failures(), testing::IsEmpty());
    kavo::JsonRequest request(parameters, "en-US");
    kavo::JsonResponse response;
    kavo::call(modules.find("KAVO.Appliance." + api, 1, method), request, response);
    return response.envelope();
  }

  // The data of an answer of success.
  static Json::Value call(const std::string& api, const std::string& method,
                          const Json::Value& parameters = Json::objectValue) {
    const Json::Value envelope = answer(api, method, parameters);
    EXPECT_TRUE(envelope["success"].asBool()) << envelope.toStyledString();
    return envelope["data"];
  }

  // The code and the message of an answer of failure.
  static std::pair<int, std::string> error(const std::string& api, const std::string& method,
                                           const Json::Value& parameters = Json::objectValue) {
    const Json::Value envelope = answer(api, method, parameters);
    EXPECT_FALSE(envelope["success"].asBool()) << envelope.toStyledString();
    return {envelope["error"]["code"].asInt(), envelope["error"]["data"]["msg"].asString()};
  }
};
