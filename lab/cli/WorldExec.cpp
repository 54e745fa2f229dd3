#include "lab/cli/WorldExec.h"

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

int failWithErrno(const QString& what) {
  std::fprintf(stderr, "zolvex-lab: %s: %s\n", qPrintable(what), std::strerror(errno));
  return EXIT_FAILURE;
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

bool takeEnvironment(const QString& computer) {
  QFile file(u"%1/%2/environment"_s.arg(QLatin1String(Sandbox::directory), computer));
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

}  // namespace

int execInWorld(const Options& options) {
  if (!joinSandbox(options.world)) return failWithErrno(u"cannot enter the world of process %1"_s.arg(options.world));
  if (!takeEnvironment(options.computer))
    return failWithErrno(u"there is no computer %1 in that world"_s.arg(options.computer));
  if (!join(Network::namespaceFile(options.computer))) return failWithErrno(u"cannot enter the network"_s);
  if (unshare(CLONE_NEWUTS) == 0) {
    const auto host = Network::hostName(options.computer).toUtf8();
    [[maybe_unused]] const auto renamed = sethostname(host.constData(), static_cast<std::size_t>(host.size()));
  }
  const auto child = fork();  // only a child is in the new process namespace
  if (child < 0) return failWithErrno(u"cannot start a process"_s);
  if (child == 0) runProgram(options.program);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFSIGNALED(status) ? signalStatusBase + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace zolvex::lab
