#include "schedule/zone.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "schedule/fixture.h"

namespace kavo {
namespace {

namespace fs = std::filesystem;

// Hours east of Greenwich in January 2024.
int hours_east(const absl::TimeZone& zone) {
  return zone.At(absl::FromUnixSeconds(1705276800)).offset / 3600;
}

class ZoneTest : public testing::Test {
 protected:
  ZoneTest() {
    std::string name = fs::temp_directory_path() / "zoneXXXXXX";
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    localtime_ = folder_ / "localtime";
  }
  ~ZoneTest() override { fs::remove_all(folder_); }

  // Puts the file at `localtime_` in one step, as an administrator's tools do.
  void put(const fs::path& file) const { fs::rename(file, localtime_); }

  fs::path link_to(const fs::path& target) const {
    fs::create_symlink(target, folder_ / "new");
    return folder_ / "new";
  }
  fs::path copy_of(const fs::path& file) const {
    fs::copy_file(file, folder_ / "new");
    return folder_ / "new";
  }

  const fs::path database_ = "/usr/share/zoneinfo";
  fs::path folder_;
  fs::path localtime_;
};

TEST_F(ZoneTest, LoadsTheZonesOfTheDatabaseOnly) {
  for (const char* name : {"UTC", "Europe/Berlin", "America/Argentina/Ushuaia", "Etc/GMT+12",
                           "America/Port-au-Prince", "Asia/Kolkata", "EST5EDT"}) {
    absl::TimeZone zone;
    EXPECT_TRUE(load_zone(name, zone)) << name;
  }
  for (const std::string& name :
       std::initializer_list<std::string>{"",
                                          "/",
                                          ".",
                                          "..",
                                          "Europe",
                                          "Europe/",
                                          "/Europe/Berlin",
                                          "Europe//Berlin",
                                          "/usr/share/zoneinfo/Europe/Berlin",
                                          "../zoneinfo/Europe/Berlin",
                                          "Europe/../Europe/Berlin",
                                          "Europe/./Berlin",
                                          ":Europe/Berlin",
                                          "file:Europe/Berlin",
                                          "localtime",
                                          "posixrules",
                                          "posix/Europe/Berlin",
                                          "right/Europe/Berlin",
                                          "zone.tab",
                                          "leapseconds",
                                          "tzdata.zi",
                                          "europe/berlin",
                                          "Mars/Olympus",
                                          "Fixed/UTC+01:00:00",
                                          "CET-1CEST",
                                          "<+03>-3",
                                          " UTC",
                                          "UTC ",
                                          std::string("UTC\0", 4),
                                          "Europe/Berl\xc3\xadn",
                                          std::string(10000, 'a')}) {
    absl::TimeZone zone = zone_named("Asia/Tokyo");
    EXPECT_FALSE(load_zone(name, zone)) << name;
    EXPECT_EQ(hours_east(zone), 9) << name;
  }
}

TEST_F(ZoneTest, TheEnvironmentDoesNotMoveTheDatabase) {
  fs::create_directories(folder_ / "Asia");
  fs::copy_file(database_ / "Asia/Tokyo", folder_ / "Asia/Dubai");
  fs::copy_file(database_ / "Asia/Tokyo", folder_ / "Asia/Nowhere");
  ASSERT_EQ(setenv("TZDIR", folder_.c_str(), 1), 0);
  absl::TimeZone zone;
  EXPECT_TRUE(load_zone("Asia/Dubai", zone));
  EXPECT_EQ(hours_east(zone), 4);
  EXPECT_FALSE(load_zone("Asia/Nowhere", zone));
  ASSERT_EQ(unsetenv("TZDIR"), 0);
}

TEST_F(ZoneTest, TheAppliancesZoneIsThatOfTheMoment) {
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 0);
  put(link_to(database_ / "Asia/Tokyo"));
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 9);
  put(link_to(database_ / "America/New_York"));
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), -5);
  put(copy_of(database_ / "Asia/Dubai"));
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 4);
  put(copy_of(database_ / "Asia/Tokyo"));
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 9);
  put(link_to(database_ / "Asia/Tokyo"));
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 9);
}

TEST_F(ZoneTest, WithoutAUsableZoneTheApplianceHasUtc) {
  put(link_to(database_ / "Asia/Tokyo"));
  ASSERT_EQ(hours_east(appliance_zone(localtime_)), 9);
  put(link_to(database_ / "Asia/Nowhere"));
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 0);
  put(link_to(database_ / "Asia"));
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 0);
  put(copy_of(database_ / "zone.tab"));
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 0);
  std::ofstream(folder_ / "new") << "TZif2 and no more";
  put(folder_ / "new");
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 0);
  put(copy_of(database_ / "Asia/Tokyo"));
  EXPECT_EQ(hours_east(appliance_zone(localtime_)), 9);
}

TEST_F(ZoneTest, AScheduleHasItsOwnZoneOrTheAppliances) {
  Schedule schedule;
  EXPECT_EQ(schedule_zone(schedule), appliance_zone());
  schedule.timezone = "Asia/Tokyo";
  EXPECT_EQ(hours_east(schedule_zone(schedule)), 9);
  schedule.timezone = "Asia/Vanished";
  EXPECT_EQ(schedule_zone(schedule), absl::UTCTimeZone());
}

}  // namespace
}  // namespace kavo
