#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tools/beep.h"

namespace {

using namespace std::chrono_literals;
using Moment = std::chrono::steady_clock::time_point;

struct LogicalPause : kavo::Pause {
  void until(Moment moment) override { now = moment; }
  Moment now{};
};

struct RecordingBell : kavo::Bell {
  explicit RecordingBell(const LogicalPause& pause) : pause_(pause) {}
  bool ring() override {
    rings.push_back(pause_.now);
    return rings.size() != fails_at;
  }
  std::vector<Moment> rings;
  size_t fails_at = 0;

 private:
  const LogicalPause& pause_;
};

TEST(Beep, RingsOnceASecond) {
  LogicalPause pause;
  pause.now = Moment(5s);
  RecordingBell bell(pause);
  EXPECT_TRUE(kavo::beep(3, Moment(5s), bell, pause));
  EXPECT_THAT(bell.rings, testing::ElementsAre(Moment(5s), Moment(6s), Moment(7s)));
}

TEST(Beep, StopsWhenTheBellFails) {
  LogicalPause pause;
  RecordingBell bell(pause);
  bell.fails_at = 2;
  EXPECT_FALSE(kavo::beep(600, Moment(), bell, pause));
  EXPECT_EQ(bell.rings.size(), 2U);
}

}  // namespace
