// Kills the scheduler at random moments while tasks that append their run ids to a file fall due,
// and accounts for every run. Exit code: 0 when none was lost and none ran twice, 1 otherwise.

#include <fcntl.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <stop_token>
#include <system_error>
#include <thread>

#include "scheduler/kill_rounds.h"
#include "store/task_store.h"
#include "temporary_folder.h"

namespace {

struct Settings {
  int rounds = 300;
  int tasks = 50;
  int longest = 100;
  unsigned int seed = 1;
  bool locked = false;
  bool full = false;
};

using std::chrono::milliseconds;

// A file system of 16 MiB in the place of a folder, while it lives; only this process and those it
// starts see it.
class SmallDisk {
 public:
  explicit SmallDisk(std::filesystem::path folder) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=16m,mode=0700") != 0) {
      throw std::system_error(errno, std::generic_category(), "A file system cannot be mounted");
    }
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  ~SmallDisk() { (void)umount2(folder_.c_str(), MNT_DETACH); }

 private:
  std::filesystem::path folder_;
};

// Writes a file until nothing more fits.
void fill(const std::filesystem::path& file) {
  const kavo::Descriptor descriptor(open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const std::string block(4096, 'x');
  while (write(descriptor.get(), block.data(), block.size()) > 0) {
  }
}

// Again and again until it is stopped: the disk is full for up to two seconds, the store is locked
// for two to five, with half a second in between.
void keep_full(const std::stop_token& stop) {
  std::mt19937 random(3);
  const std::filesystem::path file = kavo::store_folder() + "/filling";
  while (!stop.stop_requested()) {
    fill(file);
    std::this_thread::sleep_for(milliseconds(random() % 2000));
    std::filesystem::remove(file);
    std::this_thread::sleep_for(milliseconds(500));
  }
}

void keep_locked(const std::stop_token& stop) {
  std::mt19937 random(3);
  SQLite::Database store(kavo::store_file(), SQLite::OPEN_READWRITE, 60000);
  while (!stop.stop_requested()) {
    store.exec("BEGIN EXCLUSIVE");
    std::this_thread::sleep_for(milliseconds(2000 + random() % 3000));
    store.exec("COMMIT");
    std::this_thread::sleep_for(milliseconds(500));
  }
}

void set_up(const TemporaryRoot& root, const Settings& settings) {
  root.write("etc/kavo/kavo.conf", "historyRuns=\"1000000\"\n");
  const std::filesystem::path folder = root.path() / "usr/kavo/lib";
  std::filesystem::create_directories(folder);
  std::filesystem::create_symlink(KAVO_RUNNER, folder / "kavo-runner");
  for (int i = 0; i < settings.tasks; ++i) {
    kavo::TaskRecord task;
    task.set(&kavo::Task::owner, getpwuid(geteuid())->pw_name);
    task.set(&kavo::Task::command, "echo $KAVO_RUN_ID >>" + (root.path() / "ids").string());
    task.set(&kavo::Task::can_run_task_same_time, true);
    kavo::save_task(task);
  }
}

int run(const Settings& settings) {
  const TemporaryRoot root;
  std::optional<SmallDisk> disk;
  if (settings.full) {
    disk.emplace(kavo::store_folder());
  }
  set_up(root, settings);
  std::jthread full, locked;
  if (settings.full) {
    full = std::jthread(keep_full);
  }
  if (settings.locked) {
    locked = std::jthread(keep_locked);
  }
  KillRoundsDriver driver(KAVO_SCHEDD, (root.path() / "ids").string(),
                          std::chrono::milliseconds(settings.longest));
  const KillRounds result = driver.run(settings.rounds, settings.seed);
  printf("rounds %d\ndue %d\nclaimed %d\naccounted %d\nlost %d\ndoubled %d\nrefusals %d\n",
         result.rounds, result.due, result.claimed, result.accounted, result.lost, result.doubled,
         result.refusals);
  return result.lost == 0 && result.doubled == 0 && result.accounted == result.due ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Settings settings;
  CLI::App app("Kills the scheduler at random moments and accounts for every run", "kill_rounds");
  app.add_option("--rounds", settings.rounds, "How often it is killed")->capture_default_str();
  app.add_option("--tasks", settings.tasks, "Tasks that fall due together")->capture_default_str();
  app.add_option("--longest", settings.longest, "Milliseconds it lives at most")
      ->capture_default_str();
  app.add_option("--seed", settings.seed, "Of the random moments")->capture_default_str();
  app.add_flag("--locked", settings.locked, "The store is locked for seconds, again and again");
  app.add_flag("--full", settings.full,
               "The store's disk is full for a while, again and again; needs root");
  CLI11_PARSE(app, argc, argv);
  try {
    return run(settings);
  } catch (const std::exception& error) {
    (void)fprintf(stderr, "kill_rounds: %s\n", error.what());
    return 1;
  }
}
