#pragma once

#include "bluetooth/ProcessLauncher.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/SpawnedProcess.h"

#include <memory>

namespace zolvex {

/// Our ends of a child's three pipes. None of them ever blocks.
struct ChildPipes {
  FileDescriptor input;   ///< To write to.
  FileDescriptor output;  ///< To read from.
  FileDescriptor error;   ///< To read from.
};

/// A child started by PosixProcessLauncher. One thread.
class PosixChildProcess final : public ChildProcess {
 public:
  PosixChildProcess(std::shared_ptr<SpawnedProcess> process, ChildPipes pipes);

  Seconds writeInput(std::string_view bytes, Seconds limit) override;
  bool waitForExit(Seconds limit) override { return process_->waitForExit(limit); }
  void terminate() override;
  void kill() override;
  int exitStatus() const override { return process_->exitStatus(); }
  std::string readOutput() override;
  std::string readError() override;

 private:
  std::shared_ptr<SpawnedProcess> process_;
  ChildPipes pipes_;
};

}  // namespace zolvex
