#pragma once

#include "DayComputer.h"
#include "core/Log.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zolvex::test {

/// A day of two computers on one desk, made of events that a seeded generator chooses: locks, unlocks, sleeps, wakes,
/// clicks, restarts, faults. Events overlap; each second there is a look at what must hold at any time, and after each
/// event that has settled at what must hold then. What must never be is reported with what came before it.
class RandomDay {
 public:
  explicit RandomDay(std::uint32_t seed);
  ~RandomDay();

  /// Lives through the day, up to the first thing that must not be. Empty when there was none.
  std::string live();

 private:
  static constexpr int eventCount = 60;

  void happen();
  void userEvent(DayComputer& computer);
  void click(DayComputer& computer);
  void changeSetting(DayComputer& computer);
  void misfortune(DayComputer& computer);
  void restart(DayComputer& computer);

  void comeToRest();
  void checkAlways();
  void checkSettled();
  void checkRest();
  void checkWhatIsSaid(DayComputer& computer);
  void checkWhatIsPending(const DayComputer& computer);
  bool isSettled() { return studio_.isSettled() && laptop_.isSettled(); }
  void endTheDay();
  void advance(Seconds duration);

  int pick(int count) { return std::uniform_int_distribution(0, count - 1)(random_); }
  void note(const std::string& what);
  void complain(const std::string& what);

  Random random_;
  VirtualTime time_;
  DayRadio radio_;
  DayComputer studio_{"Studio", time_, radio_, random_};
  DayComputer laptop_{"Laptop", time_, radio_, random_};
  std::array<DayComputer*, 2> computers_{&studio_, &laptop_};
  LogSink previousSink_;
  std::vector<std::string> story_;
  std::string complaint_;
};

}  // namespace zolvex::test
