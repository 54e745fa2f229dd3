#include "platform/linux/PosixProcessLauncher.h"

#include "platform/linux/PosixChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <string>
#include <system_error>

namespace zolvex {

namespace {

struct Pipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

/// The same file under a number that is not one of the standard streams, so that the child's streams can be put in
/// place one after another also where this process runs without some of its own.
FileDescriptor movedAboveStandardStreams(FileDescriptor descriptor) {
  if (descriptor.get() > STDERR_FILENO) return descriptor;
  return FileDescriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

std::optional<Pipe> makePipe() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  // Both ends are taken over before either is moved: moving may fail half-way.
  FileDescriptor readEnd(ends[0]);
  FileDescriptor writeEnd(ends[1]);
  Pipe pipe{movedAboveStandardStreams(std::move(readEnd)), movedAboveStandardStreams(std::move(writeEnd))};
  if (!pipe.readEnd.isOpen() || !pipe.writeEnd.isOpen()) return std::nullopt;
  return pipe;
}

struct StandardPipes {
  Pipe input;
  Pipe output;
  Pipe error;
};

std::optional<StandardPipes> makePipes() {
  auto input = makePipe();
  auto output = makePipe();
  auto error = makePipe();
  if (!input || !output || !error) return std::nullopt;
  for (const auto* ours : {&input->writeEnd, &output->readEnd, &error->readEnd})
    ::fcntl(ours->get(), F_SETFL, ::fcntl(ours->get(), F_GETFL) | O_NONBLOCK);
  return StandardPipes{std::move(*input), std::move(*output), std::move(*error)};
}

/// What posix_spawn is to do in the child before the program starts.
class SpawnPlan {
 public:
  explicit SpawnPlan(const StandardPipes& pipes) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, pipes.input.readEnd.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, pipes.output.writeEnd.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, pipes.error.writeEnd.get(), STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  ~SpawnPlan() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnPlan(const SpawnPlan&) = delete;

  /// 0 or an error number.
  int spawn(pid_t& id, const std::string& executable, std::span<const std::string> arguments) const {
    std::vector<char*> argv{const_cast<char*>(executable.c_str())};
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    return ::posix_spawn(&id, executable.c_str(), &actions_, &attributes_, argv.data(), environ);
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

ProcessLauncher::Error errorOf(int number) {
  return {std::generic_category().message(number)};
}

}  // namespace

std::variant<std::unique_ptr<ChildProcess>, ProcessLauncher::Error> PosixProcessLauncher::launch(
    const std::string& executable, std::span<const std::string> arguments) {
  const std::lock_guard lock(mutex_);
  if (isStopped_) return Error{"the application is ending"};
  std::erase_if(children_, [](const auto& child) { return child->reap(); });

  auto pipes = makePipes();
  if (!pipes) return errorOf(errno);
  pid_t id = 0;
  if (const int number = SpawnPlan(*pipes).spawn(id, executable, arguments); number != 0) return errorOf(number);
  children_.push_back(std::make_shared<SpawnedProcess>(id, waiting_));
  return std::make_unique<PosixChildProcess>(
      children_.back(),
      ChildPipes{std::move(pipes->input.writeEnd), std::move(pipes->output.readEnd), std::move(pipes->error.readEnd)});
}

void PosixProcessLauncher::stop() {
  using Clock = std::chrono::steady_clock;
  const auto children = refuseFurtherLaunches();
  for (const int number : {SIGTERM, SIGKILL}) {
    for (const auto& child : children) child->signal(number);
    const auto begin = Clock::now();
    for (const auto& child : children) child->waitForExit(stopGrace - (Clock::now() - begin));
  }
}

std::vector<std::shared_ptr<SpawnedProcess>> PosixProcessLauncher::refuseFurtherLaunches() {
  const std::lock_guard lock(mutex_);
  isStopped_ = true;
  return std::move(children_);
}

}  // namespace zolvex
