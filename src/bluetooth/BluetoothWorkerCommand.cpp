#include "bluetooth/BluetoothWorkerCommand.h"

namespace zolvex {

std::string_view literalOf(BluetoothWorkerCommand command) {
  switch (command) {
    case BluetoothWorkerCommand::connect:
      return "connect";
    case BluetoothWorkerCommand::listPaired:
      return "listPaired";
    case BluetoothWorkerCommand::unregister:
      return "unregister";
  }
  return "";
}

std::optional<BluetoothWorkerCommand> workerCommandFromLiteral(std::string_view literal) {
  using enum BluetoothWorkerCommand;
  for (const auto command : {connect, listPaired, unregister})
    if (literal == literalOf(command)) return command;
  return std::nullopt;
}

}  // namespace zolvex
