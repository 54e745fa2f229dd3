#include "app/Application.h"

#include "app/ApplicationArguments.h"
#include "app/RunningInstance.h"
#include "app/SharedObjects.h"
#include "app/UserInterfaceModule.h"
#include "core/Log.h"
#include "core/Version.h"
#include "platform/linux/InstanceLock.h"
#include "platform/linux/JournalLog.h"
#include "platform/linux/ProcessSetup.h"
#include "platform/linux/TerminationSignals.h"

#include <QCoreApplication>
#include <fmt/core.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace zolvex {

namespace {

constexpr Logger logger("Application");

constexpr int ended = 0;
constexpr int alreadyRunning = 1;
constexpr int usage = 2;

void print(std::FILE* stream, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

/// Makes the instance that holds the lock show itself, which is what the user wanted who started this one; where it
/// cannot, tells how to control it. The exit status.
int pointToRunning(const InstanceLock& lock) {
  if (showRunningInstance()) return ended;
  const auto holder = lock.holder();
  print(stderr,
        fmt::format("zolvex: Zolvex is already running for this user{}. Control it with zolvexctl, for example: "
                    "zolvexctl status\n",
                    holder.empty() ? "" : " (process " + holder + ")"));
  return alreadyRunning;
}

/// Whether this is the user's only instance. Where that cannot be found out, it counts as such.
bool isOnlyInstance(InstanceLock& lock) {
  switch (lock.acquire()) {
    case InstanceLock::Result::acquired:
      return true;
    case InstanceLock::Result::unavailable:
      logger.error("cannot write {}; a second Zolvex would not be noticed", InstanceLock::standardPath());
      return true;
    case InstanceLock::Result::heldByAnother:
      break;
  }
  return false;
}

void runUntilSignal(UserInterfacePlugin* windows) {
  const TerminationSignals signals([](int signal) {
    logger.info("ending on SIG{}", sigabbrev_np(signal));
    QCoreApplication::quit();
  });
  logger.info("Zolvex {} starts", versionText());
  SharedObjects objects(windows);
  objects.start();
  QCoreApplication::exec();
}

int runInBackground(int argc, char** argv) {
  setLogSink(journalOrStandardError());
  InstanceLock lock(InstanceLock::standardPath());
  const bool isOnly = isOnlyInstance(lock);
  const auto windows = isOnly ? loadUserInterface() : nullptr;
  std::optional<QCoreApplication> application;  // the windows bring one of their own
  if (!windows) application.emplace(argc, argv);
  if (!isOnly) return pointToRunning(lock);
  runUntilSignal(windows.get());
  // Everything of ours is in order. Qt, when it is taken apart, waits for its bus thread, and that one waits for a bus
  // that may never answer.
  std::fflush(nullptr);
  std::_Exit(ended);
}

}  // namespace

int runApplication(int argc, char** argv) {
  setUpProcess();
  const std::vector<std::string> given(argv + 1, argv + argc);
  const auto arguments = parseApplicationArguments(given);
  switch (arguments.action) {
    case ApplicationArguments::Action::run:
      return runInBackground(argc, argv);
    case ApplicationArguments::Action::showHelp:
      print(stdout, applicationHelp);
      return ended;
    case ApplicationArguments::Action::showVersion:
      print(stdout, "zolvex " + versionText() + "\n");
      return ended;
    case ApplicationArguments::Action::refuse:
      break;
  }
  print(stderr, fmt::format("zolvex: unknown argument: {}\n{}", arguments.unknown, applicationHelp));
  return usage;
}

}  // namespace zolvex
