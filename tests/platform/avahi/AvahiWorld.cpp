#include "platform/avahi/AvahiWorld.h"

#include <QStandardPaths>
#include <QStringList>
#include <gtest/gtest.h>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

namespace {

constexpr int patienceMilliseconds = 20'000;

QStringList namespaceOptions() {
  QStringList options{u"--net"_s, u"--mount"_s, u"--pid"_s, u"--fork"_s, u"--mount-proc"_s, u"--kill-child"_s};
  if (::geteuid() != 0) options << u"--user"_s << u"--map-current-user"_s << u"--keep-caps"_s;
  return options;
}

QString found(const QString& program) {
  const QStringList systemFolders{u"/usr/sbin"_s, u"/sbin"_s};
  const auto path = QStandardPaths::findExecutable(program);
  return path.isEmpty() ? QStandardPaths::findExecutable(program, systemFolders) : path;
}

}  // namespace

AvahiWorld::~AvahiWorld() {
  script_.closeWriteChannel();
  if (!script_.waitForFinished(patienceMilliseconds)) script_.kill();
  script_.waitForFinished(patienceMilliseconds);
}

std::string AvahiWorld::obstacle() {
  for (const auto& program : {u"unshare"_s, u"nsenter"_s, u"ip"_s, u"avahi-daemon"_s, u"dbus-daemon"_s})
    if (found(program).isEmpty()) return program.toStdString() + " is not installed";
  QProcess probe;
  probe.start(u"unshare"_s, namespaceOptions() << u"true"_s);
  const auto ended = probe.waitForFinished(patienceMilliseconds);
  if (ended && probe.exitStatus() == QProcess::NormalExit && probe.exitCode() == 0) return {};
  return "namespaces cannot be made here: " + probe.readAllStandardError().trimmed().toStdString();
}

bool AvahiWorld::start() {
  for (auto& bus : buses_)
    if (!bus.start()) return false;
  auto environment = QProcessEnvironment::systemEnvironment();
  environment.insert(u"PATH"_s, environment.value(u"PATH"_s) + u":/usr/sbin:/sbin"_s);
  script_.setProcessEnvironment(environment);
  script_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  script_.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
  script_.start(u"unshare"_s, namespaceOptions()
                                  << QStringLiteral(ZOLVEX_AVAHI_WORLD_SCRIPT) << busAddress(0) << busAddress(1));
  return waitForLine("ready");
}

void AvahiWorld::startBus(int computer) {
  EXPECT_TRUE(buses_.at(static_cast<std::size_t>(computer)).start());
}

void AvahiWorld::stopBus(int computer) {
  buses_.at(static_cast<std::size_t>(computer)).stop();
}

bool AvahiWorld::waitForLine(const QByteArray& line) {
  while (!script_.canReadLine())
    if (!script_.waitForReadyRead(patienceMilliseconds)) return false;
  return script_.readLine().trimmed() == line;
}

void AvahiWorld::command(const char* name, int argument) {
  script_.write(QByteArray(name) + ' ' + QByteArray::number(argument) + '\n');
  EXPECT_TRUE(waitForLine("done")) << name;
}

}  // namespace zolvex::test
