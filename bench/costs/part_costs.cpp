// The parts of which requests are made, each beside the least that its result takes. The counters
// are per call: allocations made, and bytes left allocated.

#include <absl/time/time.h>
#include <benchmark/benchmark.h>
#include <handler.h>
#include <json/reader.h>
#include <json/writer.h>
#include <kavosched.h>

#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "costs/costs.h"
#include "costs/sample_appliance.h"
#include "json_text.h"
#include "lib.h"
#include "schedule/zone.h"

namespace bench {
namespace {

using KAVO::Core::TaskScheduler::AppParser;

void add(const std::string& name, const std::function<void()>& work) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    work();
    for (auto _ : state) {
      work();
    }
    show_allocations(state, work);
  });
}

// The strings as nothing but names and texts that are owned elsewhere.
using PlainStrings = std::map<std::string_view, std::map<std::string_view, std::string_view>>;

const Json::Value& desktop_strings() {
  static const Json::Value strings = KAVO::ZEL::LocalizedStringParser().ParseTexts(
      std::string("/usr/kavo/kavoman/webman/texts/") + kLanguage);
  return strings;
}

PlainStrings plain_strings() {
  PlainStrings plain;
  const Json::Value& strings = desktop_strings();
  for (auto section = strings.begin(); section != strings.end(); ++section) {
    const char* end = nullptr;
    const char* name = section.memberName(&end);
    auto& texts = plain[{name, static_cast<std::size_t>(end - name)}];
    for (auto text = section->begin(); text != section->end(); ++text) {
      name = text.memberName(&end);
      texts[{name, static_cast<std::size_t>(end - name)}] = text->asCString();
    }
  }
  return plain;
}

// A request leaves its parser allocated. Here it is freed outside the time that is measured.
template <typename Make>
void measure_made(benchmark::State& state, Make make) {
  for (auto _ : state) {
    auto made = make();
    state.PauseTiming();
    made.reset();
    state.ResumeTiming();
  }
  decltype(make()) made;
  show_allocations(state, [&] { made = make(); });
}

void register_parser() {
  benchmark::RegisterBenchmark("parser of a request/measured", [](benchmark::State& state) {
    measure_made(state, [] { return std::make_unique<AppParser>(kLanguage); });
  });
  benchmark::RegisterBenchmark("parser of a request/floor", [](benchmark::State& state) {
    const PlainStrings strings = plain_strings();
    measure_made(state, [&] { return std::make_unique<PlainStrings>(strings); });
  });
}

void register_texts() {
  static const AppParser parser(kLanguage);
  static auto* const unused_parser = new AppParser(kLanguage);
  static const TaskSchedulerHandler handler(nullptr, nullptr, unused_parser);
  static const std::string action =
      "#common:run#: rsync -a --delete /shares/photos/ backup:/photos/";

  const auto translate = [](const std::string& what, const std::string& app) {
    add(what + "/measured", [app] {
      Json::Value row;
      row["action"] = action;
      handler.TranslateActionKey(row, app);
      benchmark::DoNotOptimize(row);
    });
    add(what + "/floor", [] {
      Json::Value row;
      std::string text = action;
      text.replace(text.find("#common:run#"), 12, desktop_strings()["common"]["run"].asCString());
      row["action"] = text;
      benchmark::DoNotOptimize(row);
    });
  };
  translate("translate an action", "KAVO.ZEL.TaskScheduler.Script");
  translate("translate an action, app's strings", kAppWithStrings);

  static const std::string name = "Mother's \"best\" photos & $HOME";
  add("quote a name/measured", [] { benchmark::DoNotOptimize(EscapeShellName(name)); });
  add("quote a name/floor", [] {
    std::string quoted(1, '"');
    for (const char c : name) {
      if (strchr("$`\"\\", c) != nullptr) {
        quoted += '\\';
      }
      quoted += c;
    }
    quoted += '"';
    benchmark::DoNotOptimize(quoted);
  });
}

void register_next_run() {
  static const absl::TimeZone zone = [] {
    absl::TimeZone berlin;
    kavo::load_zone("Europe/Berlin", berlin);
    return berlin;
  }();
  static kavo::Schedule schedule;
  schedule.hour = 2;
  schedule.minute = 30;
  static std::int64_t moment = 1793880000;
  add("next run/measured",
      [] { benchmark::DoNotOptimize(kavo::next_run(schedule, zone, moment += 3607)); });
  add("next run/floor", [] {
    const auto day = absl::ToCivilDay(absl::FromUnixSeconds(moment += 3607), zone);
    benchmark::DoNotOptimize(
        absl::ToUnixSeconds(absl::FromCivil(absl::CivilMinute(day + 1) + 150, zone)));
  });
}

void register_documents() {
  static const Json::Value settings = json(R"({"clean_share_policy": {"clean_all": false,
    "shares": ["Photos", "Music", "Letters"]}, "clean_file_policy": {"policy": "time", "time": 30,
    "reserve_policy": {"extension_check": true, "extension": [{"file_ext": "raw"}]}}})");
  static const std::string text = CompactText(settings);
  add("JSON text in/measured", [] { benchmark::DoNotOptimize(ParseText(text)); });
  add("JSON text in/floor", [] {
    static const std::unique_ptr<Json::CharReader> reader(
        Json::CharReaderBuilder().newCharReader());
    Json::Value value;
    reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
    benchmark::DoNotOptimize(value);
  });
  add("JSON text out/measured", [] { benchmark::DoNotOptimize(CompactText(settings)); });
  add("JSON text out/floor", [] {
    static Json::FastWriter writer;
    benchmark::DoNotOptimize(writer.write(settings));
  });

  static const std::unique_ptr<_tag_kavo_sched_task_, decltype(&KAVOSchedTaskFree)> task(
      KAVOSchedTaskAlloc(), KAVOSchedTaskFree);
  KAVOSchedTaskLoad(11, task.get());
  static const Json::Value document = [] {
    Json::Value doc;
    KAVOSchedTaskConvertToJson_Basic(*task, doc);
    KAVOSchedTaskConvertToJson_Schedule(*task, doc);
    return doc;
  }();
  const auto copy = [] { benchmark::DoNotOptimize(Json::Value(document)); };
  add("task document out/measured", [] {
    Json::Value doc;
    KAVOSchedTaskConvertToJson_Basic(*task, doc);
    KAVOSchedTaskConvertToJson_Schedule(*task, doc);
    benchmark::DoNotOptimize(doc);
  });
  add("task document out/floor", copy);
  add("task document in/measured", [] {
    if (!KAVOSchedTaskConvertFromJson_Basic(document, *task) ||
        !KAVOSchedTaskConvertFromJson_Schedule(document, *task)) {
      throw std::runtime_error("a task document is refused");
    }
  });
  add("task document in/floor", copy);
}

}  // namespace

void register_parts(const std::string& folder) {
  const SampleAppliance appliance(folder + "/parts", 10);
  register_parser();
  register_texts();
  register_next_run();
  register_documents();
}

}  // namespace bench
