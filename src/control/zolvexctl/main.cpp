#include "control/zolvexctl/CommandLine.h"
#include "control/zolvexctl/Commands.h"
#include "control/zolvexctl/ExitStatus.h"
#include "core/Version.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <variant>
#include <vector>

using namespace zolvex;
using namespace zolvex::control;

namespace {

/// `status`, unless what was printed could not be written.
int withOutputWritten(int status) {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
  std::fputs("zolvexctl: cannot write the output\n", stderr);
  return status == exitStatus::done ? exitStatus::endedBadly : status;
}

}  // namespace

int main(int argc, char** argv) {
  const auto parsed = parseCommandLine({argv + 1, argv + argc});
  if (const auto* error = std::get_if<UsageError>(&parsed)) {
    std::fputs(("zolvexctl: " + error->text + "\n").c_str(), stderr);
    return exitStatus::usage;
  }
  const auto& invocation = std::get<Invocation>(parsed);
  if (invocation.help || invocation.version) {
    const auto text = invocation.help ? helpText(invocation.command) : "zolvexctl " + versionText() + "\n";
    std::fputs(text.c_str(), stdout);
    return withOutputWritten(exitStatus::done);
  }
  QCoreApplication application(argc, argv);
  const int status = withOutputWritten(Commands().run(invocation));
  // Without taking static objects apart: Qt's bus thread may be handling a late message that needs them.
  std::_Exit(status);
}
