#include "lab/cli/Console.h"

#include <array>
#include <unistd.h>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

Console::Console(World& world, Report& report)
    : world_(world), report_(report), notifier_(STDIN_FILENO, QSocketNotifier::Read) {
  connect(&notifier_, &QSocketNotifier::activated, this, [this] { readLines(); });
}

void Console::readLines() {
  std::array<char, 512> buffer{};
  const auto count = read(STDIN_FILENO, buffer.data(), buffer.size());
  if (count <= 0) return notifier_.setEnabled(false);
  unfinished_.append(buffer.data(), static_cast<qsizetype>(count));
  for (auto end = unfinished_.indexOf('\n'); end >= 0; end = unfinished_.indexOf('\n')) {
    obey(QString::fromUtf8(unfinished_.first(end)).trimmed());
    unfinished_.remove(0, end + 1);
  }
}

void Console::obey(const QString& line) {
  const auto command = line.section(u' ', 0, 0);
  const auto fault = Fault::parse(line.section(u' ', 1));
  if (command == u"fault"_s && fault)
    world_.radio().inject(*fault);
  else if (command == u"lift"_s)
    world_.radio().liftAll();
  else if (command == u"who"_s)
    tellWho();
  else if (!line.isEmpty())
    report_.print(u"lab"_s, u"not understood: %1"_s.arg(line));
}

void Console::tellWho() {
  auto& radio = world_.radio();
  for (const auto& address : radio.addresses()) {
    const auto holder = radio.holder(address);
    report_.print(u"lab"_s,
                  u"%1: %2, %3"_s.arg(radio.device(address)->name, holder.isEmpty() ? u"nobody"_s : holder,
                                      radio.connectedTo(address).isEmpty() ? u"not connected"_s : u"connected"_s));
  }
}

}  // namespace zolvex::lab
