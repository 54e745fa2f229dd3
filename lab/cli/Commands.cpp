#include "lab/cli/Commands.h"

namespace zolvex::lab {

using namespace Qt::StringLiterals;

void Commands::obey(const QString& line, const ActListener& done) {
  const auto command = line.section(u' ', 0, 0);
  const auto rest = line.section(u' ', 1).trimmed();
  if (const auto act = sessionActOf(command)) {
    auto* desktop = world_.findDesktop(rest);
    return desktop ? desktop->session().perform(*act, done) : done({false, u"there is no computer \"%1\""_s.arg(rest)});
  }
  if (command == u"who"_s) return done({true, whoHasWhat()});
  if (command == u"lift"_s) {
    world_.radio().liftAll();
    return done({true, {}});
  }
  const auto fault = command == u"fault"_s ? Fault::parse(rest) : std::nullopt;
  if (!fault) return done({false, u"not understood: %1"_s.arg(line)});
  const auto problem = world_.problemWith(*fault);
  if (problem.isEmpty()) world_.radio().inject(*fault);
  done({problem.isEmpty(), problem});
}

QString Commands::whoHasWhat() {
  auto& radio = world_.radio();
  QStringList lines;
  for (const auto& address : radio.addresses()) {
    const auto holder = radio.holder(address);
    lines.append(u"%1: %2, %3"_s.arg(radio.device(address)->name, holder.isEmpty() ? u"nobody"_s : holder,
                                     radio.connectedTo(address).isEmpty() ? u"not connected"_s : u"connected"_s));
  }
  return lines.join(u'\n');
}

}  // namespace zolvex::lab
