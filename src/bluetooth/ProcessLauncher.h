#pragma once

#include "core/Time.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace zolvex {

/// A running or ended child process with its three pipes. Used by one thread. Destroying it closes the pipes; a child
/// that still runs then is left to itself and reaped by the launcher once it has ended.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;

  /// Writes `bytes` to the child's standard input and closes it, waiting at most `limit` for a child that does not
  /// read. What an ended child did not take is dropped. Returns how much of `limit` is left.
  virtual Seconds writeInput(std::string_view bytes, Seconds limit) = 0;

  /// Blocks until the child has ended or `limit` has passed; true when it has ended.
  virtual bool waitForExit(Seconds limit) = 0;

  /// Asks politely (SIGTERM), or ends it outright (SIGKILL). Harmless after the end.
  virtual void terminate() = 0;
  virtual void kill() = 0;

  /// Exit status once it has ended; 128 + the signal's number when a signal ended it.
  virtual int exitStatus() const = 0;

  /// All that the child wrote and that was not read yet. Never waits: what counts is what is there once it has ended.
  virtual std::string readOutput() = 0;
  virtual std::string readError() = 0;
};

/// Starts child processes with a pipe for each of the three standard streams. Any thread.
class ProcessLauncher {
 public:
  struct Error {
    std::string description;
  };

  virtual ~ProcessLauncher() = default;

  /// `arguments` without the program's own name.
  virtual std::variant<std::unique_ptr<ChildProcess>, Error> launch(const std::string& executable,
                                                                    std::span<const std::string> arguments) = 0;
};

}  // namespace zolvex
