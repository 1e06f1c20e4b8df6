// Sessions, links and failed sign-ins, with a clock that moves both ways.

#include <set>

#include "base/clock.h"
#include "base/file.h"
#include "store/database.h"
#include "store/session_store.h"
#include "store_fixture.h"

namespace {

constexpr std::int64_t kNoon = 1793880000;
constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 3600;

class SessionTest : public StoreTest {
 protected:
  int wait(const std::string& account, const std::string& address) {
    return sessions_.wait_before_sign_in(account, address);
  }
  static int rows(const std::string& table) {
    return kavo::connection().execAndGet("SELECT count(*) FROM " + table).getInt();
  }

  kavo::Clock::Stopped clock_{kNoon};
  kavo::SessionStore sessions_;
};

TEST_F(SessionTest, ASecretOpensItsOwnSessionAndIsNotStored) {
  const std::string secret = sessions_.open("root");
  const std::string other = sessions_.open("anna");
  const auto session = sessions_.find(secret);
  ASSERT_TRUE(session);
  EXPECT_EQ(session->user, "root");
  EXPECT_THAT(session->token, testing::MatchesRegex("[0-9a-f]{64}"));
  EXPECT_THAT(secret, testing::MatchesRegex("[0-9a-f]{64}"));
  EXPECT_EQ(std::set({secret, other, session->token, sessions_.find(other)->token}).size(), 4U);
  const std::string link = sessions_.make_link("root");

  kavo::connection().exec("PRAGMA wal_checkpoint(TRUNCATE)");
  const auto file = kavo::read_file(kavo::store_file(), 1 << 24);
  ASSERT_TRUE(file);
  for (const std::string& kept_away : {secret, session->token, link}) {
    EXPECT_EQ(file->find(kept_away), std::string::npos);
  }

  sessions_.close(secret);
  EXPECT_FALSE(sessions_.find(secret));
  EXPECT_TRUE(sessions_.find(other));
  for (const std::string& wrong : {std::string(), std::string("x"), std::string(64, '0'),
                                   std::string(1 << 20, 'f'), std::string("' OR 1 --")}) {
    EXPECT_FALSE(sessions_.find(wrong));
    EXPECT_FALSE(sessions_.use_link(wrong));
  }
}

TEST_F(SessionTest, ASessionEndsAfterIdleTimeAfterADayAndWhenTheClockIsSetBack) {
  const std::string busy = sessions_.open("root");
  const std::string idle = sessions_.open("root");
  const std::string lost = sessions_.open("root");
  std::int64_t now = kNoon;
  for (; now < kNoon + 24 * kHour; now += 29 * kMinute) {
    clock_.set(now);
    EXPECT_TRUE(sessions_.find(busy)) << now - kNoon;
  }
  EXPECT_FALSE(sessions_.find(idle));
  clock_.set(kNoon + 24 * kHour - 1);
  EXPECT_TRUE(sessions_.find(busy));
  clock_.set(kNoon + 24 * kHour);
  EXPECT_FALSE(sessions_.find(busy));

  root_.write("etc/kavo/kavo.conf", "sessionIdleMinutes=\"2\"\n");
  const std::string back = sessions_.open("root");
  EXPECT_EQ(rows("sessions"), 1);  // those that are over were cleared away, `lost` among them
  clock_.set(kNoon + 24 * kHour - 4 * kMinute);
  EXPECT_TRUE(sessions_.find(back));
  clock_.set(kNoon + 24 * kHour + 2 * kMinute);
  EXPECT_TRUE(sessions_.find(back));
  clock_.set(kNoon + 24 * kHour + 4 * kMinute + 1);
  EXPECT_FALSE(sessions_.find(back));
  const std::string future = sessions_.open("root");
  clock_.set(kNoon);
  EXPECT_FALSE(sessions_.find(future));
  clock_.set(kNoon + 24 * kHour + 4 * kMinute + 1);
  EXPECT_FALSE(sessions_.find(future)) << "a session that has ended came back";
}

TEST_F(SessionTest, UseIsNotedOnceAMinute) {
  const std::string secret = sessions_.open("root");
  sessions_.find(secret);
  const int changes = kavo::connection().getTotalChanges();
  for (int second = 0; second < 180; ++second) {
    clock_.set(kNoon + second);
    EXPECT_TRUE(sessions_.find(secret));
  }
  EXPECT_EQ(kavo::connection().getTotalChanges() - changes, 2);
}

TEST_F(SessionTest, ALinkWorksOnceAndForTenMinutes) {
  const std::string used = sessions_.make_link("anna");
  const std::string late = sessions_.make_link("root");
  const std::string later = sessions_.make_link("root");
  const std::string future = sessions_.make_link("root");
  clock_.set(kNoon + 600);
  EXPECT_EQ(sessions_.use_link(used), "anna");
  EXPECT_EQ(sessions_.use_link(used), std::nullopt);
  EXPECT_EQ(sessions_.use_link(late), "root");
  clock_.set(kNoon + 601);
  EXPECT_EQ(sessions_.use_link(later), std::nullopt);
  clock_.set(kNoon - kHour);
  EXPECT_EQ(sessions_.use_link(future), std::nullopt);
}

TEST_F(SessionTest, TriesAreSlowedDownByAccountAndAddress) {
  const auto lengths = [this](const std::string& account, const std::string& address, int tries) {
    std::vector<int> waits;
    for (int i = 0; i < tries; ++i) {
      const int seconds = wait(account, address);
      waits.push_back(seconds);
      clock_.set(kavo::Clock::now() + seconds);
      if (seconds > 0) {
        EXPECT_EQ(wait(account, address), 0);
      }
    }
    return waits;
  };
  EXPECT_THAT(lengths("root", "10.0.0.1", 12),
              testing::ElementsAre(0, 0, 0, 2, 4, 8, 16, 32, 64, 128, 256, 300));
  EXPECT_GT(wait("root", "10.0.0.2"), 0);   // the account, wherever from
  EXPECT_GT(wait("other", "10.0.0.1"), 0);  // the address, whoever is tried
  EXPECT_EQ(wait("other", "10.0.0.2"), 0);

  // A try that has to wait does not count, and one that succeeds starts anew.
  const int seconds = wait("root", "10.0.0.3");
  EXPECT_EQ(wait("root", "10.0.0.3"), seconds);
  clock_.set(kavo::Clock::now() + seconds);
  EXPECT_EQ(wait("root", "10.0.0.1"), 0);
  sessions_.sign_in_succeeded("root", "10.0.0.1");
  EXPECT_THAT(lengths("root", "10.0.0.1", 4), testing::ElementsAre(0, 0, 0, 2));

  // A quiet hour forgets, and a clock that is set back makes nobody wait longer.
  clock_.set(kavo::Clock::now() + kHour + 1);
  EXPECT_THAT(lengths("root", "10.0.0.1", 5), testing::ElementsAre(0, 0, 0, 2, 4));
  clock_.set(kNoon - 1000 * kHour);
  const int left = wait("root", "10.0.0.1");
  EXPECT_THAT(left, testing::AllOf(testing::Gt(0), testing::Le(8)));
  clock_.set(kavo::Clock::now() + left);
  EXPECT_EQ(wait("root", "10.0.0.1"), 0);
}

TEST_F(SessionTest, AnIpv6NetworkCountsAsOneAddressAndAMappedOneAsIpv4) {
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(wait("a" + std::to_string(i), "2001:db8:1:2::" + std::to_string(i + 1)), 0);
    EXPECT_EQ(wait("b" + std::to_string(i), "2001:db8:1:2:ffff::" + std::to_string(i + 1)), 0);
    EXPECT_EQ(wait("c" + std::to_string(i), "10.1.1.1"), 0);
    EXPECT_EQ(wait("d" + std::to_string(i), "::ffff:10.1.1.1"), 0);
  }
  EXPECT_EQ(wait("e", "2001:db8:1:2::99"), 2);
  EXPECT_EQ(wait("e", "10.1.1.1"), 2);
  EXPECT_EQ(wait("e", "2001:db8:1:3::1"), 0);
  EXPECT_EQ(wait("e", "::1"), 0);
}

TEST_F(SessionTest, TheTablesDoNotGrowWithoutBound) {
  for (int i = 0; i < 4; ++i) {
    wait("root", "10.0.0.1");
  }
  kavo::connection().exec(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 20000) "
      "INSERT INTO failed_sign_ins SELECT 'k' || i, 1, 1793880000 FROM n;"
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2000) "
      "INSERT INTO sessions SELECT 'k' || i, 'root', 1793880000, 1793879999 FROM n;"
      "INSERT INTO sign_in_links SELECT id, user, used FROM sessions");
  wait("anna", "10.0.0.2");
  EXPECT_LE(rows("failed_sign_ins"), 10002);
  EXPECT_EQ(wait("root", "10.0.0.3"), 2) << "a flood of names has freed the guessed one";
  const std::string secret = sessions_.open("root");
  const std::string link = sessions_.make_link("root");
  EXPECT_EQ(rows("sessions"), 1000);
  EXPECT_EQ(rows("sign_in_links"), 100);
  EXPECT_TRUE(sessions_.find(secret));
  EXPECT_TRUE(sessions_.use_link(link));
}

}  // namespace
