#include "app/ApplicationArguments.h"

#include "bluetooth/BluetoothWorkerCommand.h"

#include <algorithm>

namespace zolvex {

ApplicationArguments parseApplicationArguments(std::span<const std::string> arguments) {
  using enum ApplicationArguments::Action;
  if (arguments.empty() || std::find(arguments.begin(), arguments.end(), workerFlag) != arguments.end()) return {run};
  const auto& first = arguments.front();
  if (arguments.size() > 1) return {refuse, arguments[1]};
  if (first == "--help" || first == "-h") return {showHelp};
  if (first == "--version") return {showVersion};
  return {refuse, first};
}

}  // namespace zolvex
