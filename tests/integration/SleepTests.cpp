#include "integration/TwoComputers.h"

#include <fstream>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

bool standsStill(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string text;
  std::getline(file, text);
  const auto end = text.rfind(") ");
  return end != std::string::npos && text[end + 2] == 'T';
}

/// Automatic connect is off: what happens here is the doing of sleep alone.
class SleepingComputer : public TwoComputers {
 protected:
  using TwoComputers::TwoComputers;

  bool perform(Desktop& desktop, SessionAct act) {
    bool hasEnded = false;
    desktop.session().perform(act, [&](const ActOutcome& outcome) { hasEnded = outcome.isDone; });
    return waitUntil([&] { return hasEnded; }, 10s);
  }

  /// Until a health check has been answered: while one is under way, other commands are dropped.
  bool studioHearsLaptop() {
    const auto answers = logged(studio(), u"Client got response"_s);
    return waitUntil([&] { return logged(studio(), u"Client got response"_s) > answers; }, 20s);
  }

  static pid_t processOf(Desktop& desktop) { return static_cast<pid_t>(desktop.zolvex()->processId()); }

  int bondsOf(const Desktop& desktop) {
    int count = 0;
    for (const auto& address : radio().addresses()) count += radio().holder(address) == desktop.name() ? 1 : 0;
    return count;
  }
};

TEST_F(SleepingComputer, standsStillAndKeepsItsDevices) {
  EXPECT_TRUE(studioHearsLaptop());
  EXPECT_TRUE(perform(laptop(), SessionAct::sleep));
  EXPECT_TRUE(standsStill(processOf(laptop())));
  EXPECT_FALSE(standsStill(processOf(studio())));
  EXPECT_EQ(bondsOf(laptop()), radio().addresses().size());
  EXPECT_EQ(devicesOf(laptop()), 0);
  EXPECT_TRUE(perform(laptop(), SessionAct::wake));
  EXPECT_FALSE(standsStill(processOf(laptop())));
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

/// With one device only: a computer looks 6 s for each device that it cannot find.
class DeafComputer : public SleepingComputer {
 protected:
  DeafComputer() : SleepingComputer({u"Magic Keyboard"_s}) {}
};

TEST_F(DeafComputer, doesNotHearThePeer) {
  EXPECT_TRUE(perform(laptop(), SessionAct::sleep));
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitForLog(studio(), u"Connect: peer did not release"_s, 15s));
  EXPECT_EQ(bondsOf(laptop()), radio().addresses().size());
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(perform(laptop(), SessionAct::wake));
  EXPECT_TRUE(studioHearsLaptop());
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

TEST_F(SleepingComputer, workersStandStillInTheMiddle) {
  studio().bluez().setLatency(2s);
  laptop().control().release();
  ASSERT_TRUE(waitForState(laptop(), "released", thorough));
  studio().control().connectToThisMac(true);
  ASSERT_TRUE(waitUntil([&] { return !ProcessTree::descendantsOf(processOf(studio())).empty(); }, 15s));
  EXPECT_TRUE(perform(studio(), SessionAct::sleep));
  const auto workers = ProcessTree::descendantsOf(processOf(studio()));
  EXPECT_FALSE(workers.empty());
  for (const auto worker : workers) EXPECT_TRUE(standsStill(worker));
  studio().bluez().setLatency(60ms);
  EXPECT_TRUE(perform(studio(), SessionAct::wake));
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

}  // namespace
}  // namespace zolvex::lab
