#include "schedule/zone.h"

#include <stdlib.h>

#include "schedule/fixture.h"
#include "temporary_folder.h"

namespace kavo {
namespace {

namespace fs = std::filesystem;

const fs::path kDatabase = "/usr/share/zoneinfo";

// Hours east of Greenwich in January 2024.
int hours_east(const absl::TimeZone& zone) {
  return zone.At(absl::FromUnixSeconds(1705276800)).offset / 3600;
}

TEST(ZoneTest, LoadsTheZonesOfTheDatabaseOnly) {
  for (const char* name : {"UTC", "Europe/Berlin", "America/Argentina/Ushuaia", "Etc/GMT+12"}) {
    zone_named(name);
  }
  // clang-format off
  for (const std::string& name : std::initializer_list<std::string>{
           "", "/", ".", "..", "Europe", "Europe/", "/Europe/Berlin", "Europe//Berlin", "/usr/share/zoneinfo/Europe/Berlin",
           "../zoneinfo/Europe/Berlin", "Europe/./Berlin", ":Europe/Berlin", "file:Europe/Berlin", "localtime",
           "posixrules", "posix/Europe/Berlin", "right/Europe/Berlin", "zone.tab", "tzdata.zi", "europe/berlin", "Mars/Olympus",
           "Fixed/UTC+01:00:00", "CET-1CEST", "<+03>-3", " UTC", "UTC ", std::string("UTC\0", 4), std::string(10000, 'a')}) {
    // clang-format on
    absl::TimeZone zone = zone_named("Asia/Tokyo");
    EXPECT_FALSE(load_zone(name, zone)) << name;
    EXPECT_EQ(hours_east(zone), 9) << name;
  }
}

TEST(ZoneTest, TheEnvironmentDoesNotMoveTheDatabase) {
  const TemporaryFolder folder;
  fs::create_directories(folder.path() / "Asia");
  fs::copy_file(kDatabase / "Asia/Tokyo", folder.path() / "Asia/Dubai");
  fs::copy_file(kDatabase / "Asia/Tokyo", folder.path() / "Asia/Nowhere");
  ASSERT_EQ(setenv("TZDIR", folder.path().c_str(), 1), 0);
  EXPECT_EQ(hours_east(zone_named("Asia/Dubai")), 4);
  absl::TimeZone zone;
  EXPECT_FALSE(load_zone("Asia/Nowhere", zone));
  ASSERT_EQ(unsetenv("TZDIR"), 0);
}

// A file is put in the place of the one before it in one step, as an administrator's tools do.
TEST(ZoneTest, TheAppliancesZoneIsThatOfTheMoment) {
  const TemporaryFolder folder;
  const fs::path fresh = folder.path() / "new";
  const std::string localtime = folder.path() / "localtime";
  EXPECT_EQ(hours_east(appliance_zone(localtime)), 0);
  for (const auto& [zone, copied, hours] :
       {std::tuple("Asia/Tokyo", false, 9), std::tuple("America/New_York", false, -5),
        std::tuple("Asia/Dubai", true, 4), std::tuple("Asia/Tokyo", true, 9),
        // Without a usable zone the appliance has UTC.
        std::tuple("Asia/Nowhere", false, 0), std::tuple("Asia", false, 0),
        std::tuple("zone.tab", true, 0), std::tuple("Asia/Tokyo", false, 9)}) {
    copied ? fs::copy(kDatabase / zone, fresh) : fs::create_symlink(kDatabase / zone, fresh);
    fs::rename(fresh, localtime);
    EXPECT_EQ(hours_east(appliance_zone(localtime)), hours) << zone;
  }
  fs::remove(localtime);
  folder.write("localtime", "TZif2 and no more");
  EXPECT_EQ(hours_east(appliance_zone(localtime)), 0);
}

TEST(ZoneTest, TheAppliancesZoneHasTheNameThatItsLinkLeadsTo) {
  const TemporaryFolder folder;
  const std::string localtime = folder.path() / "localtime";
  EXPECT_EQ(appliance_zone_name(localtime), "UTC");
  std::string up;
  for (const fs::path& part : folder.path().relative_path()) {
    up += part.empty() ? "" : "../";
  }
  for (const auto& [target, name] :
       {std::pair<std::string, std::string>("/usr/share/zoneinfo/Asia/Tokyo", "Asia/Tokyo"),
        {up + "usr/share/zoneinfo/Europe/Berlin", "Europe/Berlin"},
        {"/usr/share/zoneinfo/../zoneinfo/Etc/UTC", "Etc/UTC"},
        {"/usr/share/zoneinfo/Asia/Nowhere", ""},
        {"/usr/share/zoneinfo/posix/Asia/Tokyo", ""},
        {"/usr/share/zoneinfo", ""},
        {"/etc/passwd", ""}}) {
    fs::remove(localtime);
    fs::create_symlink(target, localtime);
    EXPECT_EQ(appliance_zone_name(localtime), name) << target;
  }
  fs::remove(localtime);
  fs::copy(kDatabase / "Asia/Tokyo", localtime);
  EXPECT_EQ(appliance_zone_name(localtime), "");
}

TEST(ZoneTest, AScheduleHasItsOwnZoneOrTheAppliances) {
  Schedule schedule;
  EXPECT_EQ(schedule_zone(schedule), appliance_zone());
  schedule.timezone = "Asia/Tokyo";
  EXPECT_EQ(hours_east(schedule_zone(schedule)), 9);
  schedule.timezone = "Asia/Vanished";
  EXPECT_EQ(schedule_zone(schedule), absl::UTCTimeZone());
}

}  // namespace
}  // namespace kavo
