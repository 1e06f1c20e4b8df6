#include "tools/recycle_request.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include <CLI/CLI.hpp>

#include "tools/arguments.h"

namespace kavo {
namespace {

constexpr const char* kDescription =
    "Cleans the recycle bins of shares, or switches them on or off.\n"
    "Shares are named directly behind the action; none named means all shares.";

constexpr const char* kFooter =
    "A bin is the folder \"#recycle\" of its share. A file's age counts from when it was put "
    "there.\n"
    "Shares that do not exist are reported, and the others are still done.\n"
    "Exit codes: 0 done, 1 something failed, 2 wrong use and nothing was done.";

// The texts of the options, as they were given.
struct Texts {
  bool clean = false;
  bool enable = false;
  bool disable = false;
  bool dry_run = false;
  std::vector<std::string> misplaced;
  std::optional<std::string> days, bytes, order, extensions, larger, smaller;
};

void declare_options(CLI::App& app, Texts& texts) {
  auto* actions = app.add_option_group("Action");
  actions->add_flag("--clean", texts.clean, "Remove files from the bins");
  actions->add_flag("--enable", texts.enable, "Switch the bins on");
  actions->add_flag("--disable", texts.disable, "Switch the bins off");
  actions->require_option(1);
  app.add_option("share", texts.misplaced, "Names of shares, directly behind the action");

  // Each text is taken by a function: the library turns an empty text into "not given" where it
  // fills an optional itself, and "-t ''" is a slip, not a wish to remove everything.
  const auto add_text = [&app](const char* name, std::optional<std::string>& text, const char* type,
                               const char* meaning) {
    return app
        .add_option_function<std::string>(
            name, [&text](const std::string& given) { text = given; }, meaning)
        ->type_name(type);
  };
  auto* days = add_text("-t", texts.days, "DAYS", "Remove what is older than so many days");
  auto* bytes = add_text("-s", texts.bytes, "BYTES",
                         "Remove until what is left in each bin is within so many bytes");
  auto* order =
      add_text("-o", texts.order, "1|2", "With -s: 1 old files first, 2 large files first");
  bytes->excludes(days)->needs(order);
  order->needs(bytes)->check(CLI::IsMember({"1", "2"}));
  add_text("--file_ext", texts.extensions, "A.B",
           "Keep files with these extensions, separated by dots; also -file_ext=\"a.b\"");
  add_text("-m", texts.larger, "BYTES", "Keep files larger than so many bytes");
  add_text("-l", texts.smaller, "BYTES", "Keep files smaller than so many bytes");
  app.add_flag("--dry-run", texts.dry_run, "Tell what would be removed, and remove nothing");
}

// Splits "jpg.png" at its dots; an empty part names no extension.
std::vector<std::string> split_extensions(std::string_view text) {
  std::vector<std::string> extensions;
  while (!text.empty()) {
    const std::string_view part = text.substr(0, text.find('.'));
    if (!part.empty()) extensions.push_back(small_letters(part));
    text.remove_prefix(std::min(text.size(), part.size() + 1));
  }
  return extensions;
}

// Reads the numbers and lists of the options; the first text that cannot be read, or nothing.
std::optional<std::string> read_policy(const Texts& texts, CleanPolicy& policy) {
  struct Number {
    const std::optional<std::string>& text;
    const char* option;
    std::optional<uint64_t> value{};
  };
  Number numbers[] = {
      {texts.days, "-t"}, {texts.bytes, "-s"}, {texts.larger, "-m"}, {texts.smaller, "-l"}};
  for (Number& number : numbers) {
    if (!number.text) continue;
    number.value = parse_count(*number.text);
    if (!number.value) return std::string(number.option) + " " + printable(*number.text);
  }
  const auto& [days, bytes, larger, smaller] = numbers;
  if (days.value) {
    policy.remove = CleanPolicy::Remove::kOlderThanDays;
    policy.days = *days.value;
  } else if (bytes.value) {
    policy.remove = CleanPolicy::Remove::kDownToBytes;
    policy.bytes = *bytes.value;
    policy.order =
        texts.order == "2" ? CleanPolicy::Order::kLargeFirst : CleanPolicy::Order::kOldFirst;
  }
  policy.keep_larger_than = larger.value;
  policy.keep_smaller_than = smaller.value;
  if (texts.extensions) policy.keep_extensions = split_extensions(*texts.extensions);
  policy.dry_run = texts.dry_run;
  return std::nullopt;
}

bool has_clean_options(const Texts& texts) {
  return texts.days || texts.bytes || texts.extensions || texts.larger || texts.smaller ||
         texts.dry_run;
}

}  // namespace

std::variant<RecycleRequest, int> read_recycle_request(int argc, const char* const* argv) {
  CommandLine line = split_command_line(argc, argv, {"--clean", "--enable", "--disable"});
  // The one long option that tasks write with a single dash. The library takes the next word for a
  // value that is empty; a lone dot names no extension either.
  for (std::string& word : line.words) {
    if (word == "-file_ext=") word += '.';
    if (word.starts_with("-file_ext=")) word.insert(0, 1, '-');
  }
  Texts texts;
  CLI::App app(kDescription, "kavorecycle");
  app.footer(kFooter);
  declare_options(app, texts);
  if (const std::optional<int> code = parse_words(app, line.words)) return *code;

  if (!texts.misplaced.empty()) {
    return wrong_use("A share is named directly behind the action: " +
                     printable(texts.misplaced[0]));
  }
  if (std::find(line.names.begin(), line.names.end(), "") != line.names.end()) {
    return wrong_use("A share's name is empty.");
  }
  RecycleRequest request;
  request.shares = line.names;
  if (!texts.clean) {
    if (has_clean_options(texts)) return wrong_use("That option belongs to --clean.");
    request.action =
        texts.enable ? RecycleRequest::Action::kEnable : RecycleRequest::Action::kDisable;
    return request;
  }
  if (const auto unreadable = read_policy(texts, request.policy)) {
    return wrong_use("Not a number of days or bytes: " + *unreadable);
  }
  return request;
}

}  // namespace kavo
