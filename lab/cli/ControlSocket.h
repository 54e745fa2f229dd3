#pragma once

#include "lab/cli/Commands.h"

#include <QObject>
#include <QSocketNotifier>

#include <map>
#include <memory>
#include <string>

namespace zolvex::lab {

/// Takes commands for a world from other processes: a Unix socket in the directory of the sandbox. A client sends one
/// line and gets "done" or "refused" in a line of its own and then the text of the outcome, when the command has ended;
/// then the connection is closed. Owned by main().
class ControlSocket : public QObject {
 public:
  static constexpr const char* doneWord = "done\n";
  static constexpr const char* refusedWord = "refused\n";

  explicit ControlSocket(Commands& commands);
  ~ControlSocket() override;

  /// False when the socket cannot be made.
  bool listen();

  /// Where it is, as seen from inside the sandbox.
  static std::string path();

 private:
  struct Client;

  void accept();
  void read(int descriptor);
  void answer(int descriptor, int number, const ActOutcome& outcome);

  Commands& commands_;
  int descriptor_ = -1;
  int lastNumber_ = 0;
  std::unique_ptr<QSocketNotifier> notifier_;
  std::map<int, std::unique_ptr<Client>> clients_;  // by descriptor
};

}  // namespace zolvex::lab
