#include "support/FakeWorkers.h"

#include <fmt/core.h>

#include <algorithm>

namespace zolvex::test {

class FakeWorkers::Child final : public ChildProcess {
 public:
  Child(FakeWorkers& workers, std::string command)
      : workers_(workers), command_(std::move(command)), behaviour_(workers.behaviours_[{command_, ""}]) {}

  Seconds writeInput(std::string_view bytes, Seconds limit) override {
    workers_.note("input " + std::string(bytes));
    workers_.runs.push_back(command_ + " " + std::string(bytes));
    behaviour_ = workers_.behaviours_[{command_, std::string(bytes)}];
    const auto waited = std::min(behaviour_.readsAfter, limit);
    spend(waited);
    return limit - waited;
  }

  bool waitForExit(Seconds limit) override {
    if (hasEnded_) return true;
    const auto left = behaviour_.duration - ran_;
    hasEnded_ = !behaviour_.hangs && left <= limit;
    const auto waited = hasEnded_ ? left : limit;
    spend(waited);
    return hasEnded_;
  }

  void terminate() override {
    workers_.note("terminate");
    if (!behaviour_.ignoresTerminate) hasEnded_ = true;
  }

  void kill() override {
    workers_.note("kill");
    if (!behaviour_.ignoresKill) hasEnded_ = true;
  }

  int exitStatus() const override { return behaviour_.exitStatus; }
  std::string readOutput() override { return std::exchange(behaviour_.output, {}); }
  std::string readError() override { return std::exchange(behaviour_.error, {}); }

 private:
  void spend(Seconds duration) {
    ran_ += duration;
    workers_.time_.spend(duration);
  }

  FakeWorkers& workers_;
  std::string command_;
  Behaviour behaviour_;
  Seconds ran_{0};
  bool hasEnded_ = false;
};

std::variant<std::unique_ptr<ChildProcess>, ProcessLauncher::Error> FakeWorkers::launch(
    const std::string& executable, std::span<const std::string> arguments) {
  if (startError_) return Error{*startError_};
  lastCommandLine = {executable};
  lastCommandLine.insert(lastCommandLine.end(), arguments.begin(), arguments.end());
  note("start " + arguments.back());
  return std::make_unique<Child>(*this, arguments.back());
}

void FakeWorkers::note(const std::string& what) {
  events.push_back(fmt::format("{:.2f} {}", time_.elapsed().count(), what));
}

}  // namespace zolvex::test
