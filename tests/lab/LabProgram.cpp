#include "lab/LabProgram.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QUuid>

#include <unistd.h>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr int ordinaryUser = 65534;
constexpr auto openToAll =
    QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;

}  // namespace

LabProgram::LabProgram() : mark_(QUuid::createUuid().toString()) {}

void LabProgram::SetUp() {
  if (QProcess::execute(u"unshare"_s, {u"-Urnm"_s, u"true"_s}) != 0) GTEST_SKIP() << "no namespaces can be made here";
  QFile::setPermissions(directory_.path(), openToAll);
  environment_.insert(u"ZOLVEX_LAB_TEST"_s, mark_);
  environment_.insert(u"TMPDIR"_s, directory_.path());
}

ProgramRun LabProgram::lab(const QStringList& arguments, std::chrono::milliseconds timeLimit) const {
  return runProgram({.program = QStringLiteral(ZOLVEX_LAB_PROGRAM),
                     .arguments = arguments + zolvex_,
                     .environment = environment_,
                     .limit = timeLimit});
}

ProgramRun LabProgram::labOfOrdinaryUser(const QStringList& arguments) {
  environment_.insert(u"PATH"_s, u"/usr/bin:/bin"_s);
  if (geteuid() != 0) return lab(arguments);
  const auto number = QString::number(ordinaryUser);
  return runProgram({.program = u"setpriv"_s,
                     .arguments = QStringList{u"--reuid="_s + number, u"--regid="_s + number, u"--clear-groups"_s,
                                              QStringLiteral(ZOLVEX_LAB_PROGRAM)} +
                                  arguments + zolvex_,
                     .environment = environment_,
                     .limit = limit});
}

bool LabProgram::leftNothingBehind() const {
  return QDir(directory_.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot) &&
         processesWithMark() == 0;
}

int LabProgram::processesWithMark() const {
  int count = 0;
  for (const auto& process : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
    QFile file(u"/proc/%1/environ"_s.arg(process));
    if (file.open(QIODevice::ReadOnly) && file.readAll().contains(mark_.toUtf8())) ++count;
  }
  return count;
}

}  // namespace zolvex::lab
