#include "lab/cli/Console.h"

#include <QPointer>

#include <array>
#include <unistd.h>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

Console::Console(Commands& commands, Report& report)
    : commands_(commands), report_(report), notifier_(STDIN_FILENO, QSocketNotifier::Read) {
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

// What an act does is reported as it happens; only the rest needs an answer.
void Console::obey(const QString& line) {
  if (line.isEmpty()) return;
  const auto isAct = sessionActOf(line.section(u' ', 0, 0)).has_value();
  commands_.obey(line, [self = QPointer(this), isAct](const ActOutcome& outcome) {
    if (!self || (isAct && outcome.isDone)) return;
    for (const auto& text : outcome.text.split(u'\n', Qt::SkipEmptyParts)) self->report_.print(u"lab"_s, text);
  });
}

}  // namespace zolvex::lab
