#include <gmock/gmock.h>

#include "tools/beep.h"

namespace {

using namespace std::chrono_literals;
using Moment = std::chrono::steady_clock::time_point;

struct LogicalPause : kavo::Pause {
  void until(Moment moment) override { now = moment; }
  Moment now{5s};
};

struct RecordingBell : kavo::Bell {
  explicit RecordingBell(const LogicalPause& pause) : pause_(pause) {}
  bool ring() override { return rings.push_back(pause_.now), rings.size() != fails_at; }
  std::vector<Moment> rings;
  size_t fails_at = 0;

 private:
  const LogicalPause& pause_;
};

TEST(Beep, RingsOnceASecondUntilTheBellFails) {
  LogicalPause pause;
  RecordingBell bell(pause);
  EXPECT_TRUE(kavo::beep(3, Moment(5s), bell, pause));
  EXPECT_THAT(bell.rings, testing::ElementsAre(Moment(5s), Moment(6s), Moment(7s)));
  bell.fails_at = 5;
  EXPECT_FALSE(kavo::beep(600, Moment(7s), bell, pause));
  EXPECT_EQ(bell.rings.size(), 5U);
}

}  // namespace
