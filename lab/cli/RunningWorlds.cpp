#include "lab/cli/RunningWorlds.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

QByteArray contentOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The file name of its program, without the note that the file was replaced since.
QString programOf(const QString& process) {
  const auto target = QFileInfo(u"/proc/%1/exe"_s.arg(process)).symLinkTarget();
  return QFileInfo(target).fileName().section(u' ', 0, 0);
}

/// Whether it is the first process of a process namespace that was made right here.
bool isFirstOfAnother(const QString& process) {
  for (const auto& line : contentOf(u"/proc/%1/status"_s.arg(process)).split('\n')) {
    if (!line.startsWith("NSpid:")) continue;
    const auto numbers = line.simplified().split(' ');
    return numbers.size() == 3 && numbers.last() == "1";
  }
  return false;
}

}  // namespace

QStringList runningWorlds() {
  const auto own = programOf(u"self"_s);
  QStringList found;
  for (const auto& process : QDir(u"/proc"_s).entryList({u"[1-9]*"_s}, QDir::Dirs))
    if (programOf(process) == own && isFirstOfAnother(process)) found.append(process);
  return found;
}

}  // namespace zolvex::lab
