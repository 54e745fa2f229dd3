#include "lab/cli/WorldExec.h"

#include "lab/EndSignals.h"
#include "lab/SignalStatus.h"
#include "lab/world/Network.h"
#include "lab/world/Sandbox.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

int complain(const QString& what) {
  std::fprintf(stderr, "zolvex-lab: %s\n", qPrintable(what));
  return EXIT_FAILURE;
}

int failWithErrno(const QString& what) {
  return complain(what + u": "_s + QString::fromLocal8Bit(std::strerror(errno)));
}

bool isOwnUserNamespace(const QString& file) {
  struct stat theirs {};
  struct stat own {};
  return stat(QFile::encodeName(file).constData(), &theirs) == 0 && stat("/proc/self/ns/user", &own) == 0 &&
         theirs.st_dev == own.st_dev && theirs.st_ino == own.st_ino;
}

bool join(const QString& file) {
  const auto descriptor = open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC);
  return descriptor >= 0 && setns(descriptor, 0) == 0 && close(descriptor) == 0;
}

/// The mount namespace comes last: the files of the others are found in the outer one. The present directory is kept;
/// it is there inside as well.
bool joinSandbox(const QString& process) {
  const auto base = u"/proc/%1/ns/"_s.arg(process);
  const auto directory = QDir::currentPath();
  if (!isOwnUserNamespace(base + u"user"_s) && !join(base + u"user"_s)) return false;
  if (!join(base + u"pid"_s) || !join(base + u"mnt"_s)) return false;
  QDir::setCurrent(directory);
  return true;
}

QString environmentFile(const QString& computer) {
  return u"%1/%2/environment"_s.arg(QLatin1String(Sandbox::directory), computer);
}

/// The computer of that name in whatever case; empty when the world has none.
QString knownComputer(const QString& name) {
  for (const auto& folder : QDir(QLatin1String(Sandbox::directory)).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
    if (folder.compare(name, Qt::CaseInsensitive) == 0 && QFile::exists(environmentFile(folder))) return folder;
  return {};
}

bool takeEnvironment(const QString& computer) {
  QFile file(environmentFile(computer));
  if (!file.open(QIODevice::ReadOnly)) return false;
  clearenv();
  for (const auto& line : file.readAll().split('\0'))
    if (const auto equals = line.indexOf('='); equals > 0)
      setenv(line.left(equals).constData(), line.mid(equals + 1).constData(), 1);
  return true;
}

[[noreturn]] void runProgram(const QStringList& program) {
  std::vector<QByteArray> words;
  for (const auto& word : program) words.push_back(word.toLocal8Bit());
  std::vector<char*> pointers;
  for (auto& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  execvp(pointers.front(), pointers.data());
  std::fprintf(stderr, "zolvex-lab: cannot run %s: %s\n", pointers.front(), std::strerror(errno));
  _exit(EXIT_FAILURE);
}

void takeHostName(const QString& computer) {
  if (unshare(CLONE_NEWUTS) != 0) return;
  const auto host = Network::hostName(computer).toUtf8();
  [[maybe_unused]] const auto renamed = sethostname(host.constData(), static_cast<std::size_t>(host.size()));
}

/// Only a child is in the new process namespace.
int runInChild(const QStringList& program) {
  HeldEndSignals signals;
  const auto child = fork();
  if (child < 0) return failWithErrno(u"cannot start a process"_s);
  if (child == 0) {
    signals.letGo();
    runProgram(program);
  }
  signals.forwardTo(child);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFSIGNALED(status) ? signalStatusBase + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

int execInWorld(const Options& options) {
  if (!joinSandbox(options.world)) return failWithErrno(u"cannot enter the world of process %1"_s.arg(options.world));
  const auto computer = knownComputer(options.computer);
  if (computer.isEmpty()) return complain(u"there is no computer \"%1\" in that world"_s.arg(options.computer));
  if (!takeEnvironment(computer)) return failWithErrno(u"cannot read the environment of %1"_s.arg(computer));
  if (!join(Network::namespaceFile(computer))) return failWithErrno(u"cannot enter the network"_s);
  takeHostName(computer);
  return runInChild(options.program);
}

}  // namespace zolvex::lab
