// The methods for one task and for 100, beside their transactions alone with the same durability.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>

#include "costs/costs.h"
#include "costs/raw_store.h"
#include "costs/sample_appliance.h"

namespace bench {
namespace {

constexpr int kTasks = 1000;
constexpr int kFirst = 11;       // the appliance's first task, a script
constexpr int kSpare = 1000000;  // where the ids of tasks begin that are made to be deleted

// Takes the place of a scheduler that is told of a run.
class Listener {
 public:
  explicit Listener(const std::string& folder) : socket_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    const std::string path = folder + "/schedd.sock";
    if (path.size() >= sizeof name.sun_path) {
      throw std::runtime_error(path + " is too long for a socket");
    }
    memcpy(name.sun_path, path.c_str(), path.size());
    if (bind(socket_, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
      throw std::runtime_error("cannot listen at " + path);
    }
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  ~Listener() { close(socket_); }

  void drain() const {
    char word = 0;
    while (recv(socket_, &word, sizeof word, MSG_DONTWAIT) >= 0) {
    }
  }

 private:
  int socket_;
};

// What the measurements share. They follow each other, so that one appliance is enough.
struct Actions {
  explicit Actions(const std::string& folder)
      : appliance(folder + "/actions", kTasks),
        store(appliance.store()),
        listener(folder + "/actions/var/lib/kavo") {
    store.run("UPDATE tasks SET can_run_task_same_time = 1");
  }

  SampleAppliance appliance;
  RawStore store;
  Listener listener;
};

using Work = std::function<void(int round)>;

void add(const std::string& name, const std::shared_ptr<Actions>& actions, const Work& work,
         const std::function<void()>& prepare = nullptr) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    actions->appliance.enter();
    int round = 0;
    const auto ready = [&] {
      actions->listener.drain();
      if (prepare) {
        prepare();
      }
    };
    ready();
    work(round++);
    for (auto _ : state) {
      state.PauseTiming();
      ready();
      state.ResumeTiming();
      work(round++);
    }
    ready();
    show_allocations(state, [&] { work(round++); });
  })->UseRealTime();
}

Json::Value ids(int first, int count) {
  Json::Value array(Json::arrayValue);
  for (int id = first; id < first + count; ++id) {
    array.append(id);
  }
  return array;
}

Json::Value status(int count, bool enable) {
  Json::Value array(Json::arrayValue);
  for (int id = kFirst; id < kFirst + count; ++id) {
    Json::Value element;
    element["id"] = id;
    element["enable"] = enable;
    array.append(element);
  }
  return array;
}

Json::Value parameter(const char* name, const Json::Value& value) {
  Json::Value parameters;
  parameters[name] = value;
  return parameters;
}

// A call of the method with the parameters of the round.
Work calling(const KAVO::APIMethod& method, const Json::Value& even, const Json::Value& odd) {
  const auto requests = std::make_shared<std::array<kavo::JsonRequest, 2>>(
      std::array{kavo::JsonRequest(even, kLanguage), kavo::JsonRequest(odd, kLanguage)});
  return [=, &method](int round) { call(method, (*requests)[static_cast<size_t>(round % 2)]); };
}

Work calling(const KAVO::APIMethod& method, const Json::Value& parameters) {
  return calling(method, parameters, parameters);
}

void register_documents(const std::shared_ptr<Actions>& actions) {
  RawStore& store = actions->store;
  const auto document = [](int hour) {
    Json::Value parameters = json(
        R"({"type": "script", "name": "Copy the photos", "owner": "root", "enable": true,
            "extra": {"script": "rsync -a --delete /shares/photos/ backup:/photos/"}})");
    parameters["schedule"]["hour"] = hour;
    return parameters;
  };
  add("get/measured", actions, calling(method(2, "get"), parameter("id", kFirst)));
  add("get/floor", actions, [&store](int) {
    store.load(kFirst);
    store.load(kFirst);
  });

  Json::Value even = document(1);
  Json::Value odd = document(2);
  even["id"] = odd["id"] = kFirst;
  add("set/measured", actions, calling(method(2, "set"), even, odd));
  add("set/floor", actions, [&store](int round) {
    store.load(kFirst);
    store.set_enabled(kFirst, round % 2 == 0);
  });

  const auto clear = [&store] { store.run("DELETE FROM tasks WHERE id >= ?", {kSpare}); };
  store.run("UPDATE sqlite_sequence SET seq = ? WHERE name = 'tasks'", {kSpare});
  add("create/measured", actions, calling(method(2, "create"), document(1)), clear);
  add(
      "create/floor", actions, [&store](int) { store.copy(kFirst, kSpare); }, clear);
}

void register_steps(const std::shared_ptr<Actions>& actions, int count) {
  RawStore& store = actions->store;
  const std::string suffix = " of " + std::to_string(count);
  const auto each = [count](int first, const std::function<void(int id)>& step) {
    for (int id = first; id < first + count; ++id) {
      step(id);
    }
  };

  const auto forget_runs = [&store] { store.run("DELETE FROM runs"); };
  const Json::Value some = parameter("task", ids(kFirst, count));
  add("run" + suffix + "/measured", actions, calling(method(1, "run"), some), forget_runs);
  add(
      "run" + suffix + "/floor", actions,
      [=, &store](int) { each(kFirst, [&](int id) { store.claim(id); }); }, forget_runs);

  const auto make_spares = [=, &store] {
    store.run("BEGIN");
    store.run("DELETE FROM tasks WHERE id >= ?", {kSpare});
    store.run("COMMIT");
    each(kSpare, [&](int id) { store.copy(kFirst, id); });
  };
  const Json::Value spares = parameter("task", ids(kSpare, count));
  add("delete" + suffix + "/measured", actions, calling(method(1, "delete"), spares), make_spares);
  add(
      "delete" + suffix + "/floor", actions,
      [=, &store](int) { each(kSpare, [&](int id) { store.remove(id); }); }, make_spares);

  add("set_enable" + suffix + "/measured", actions,
      calling(method(1, "set_enable"), parameter("status", status(count, true)),
              parameter("status", status(count, false))));
  add("set_enable" + suffix + "/floor", actions, [=, &store](int round) {
    each(kFirst, [&](int id) {
      store.load(id);
      store.set_enabled(id, round % 2 == 0);
    });
  });
}

}  // namespace

void register_actions(const std::string& folder) {
  const auto actions = std::make_shared<Actions>(folder);
  register_documents(actions);
  register_steps(actions, 1);
  register_steps(actions, 100);
}

}  // namespace bench
