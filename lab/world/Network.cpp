#include "lab/world/Network.h"

#include <QProcess>

#include <unistd.h>
#include <utility>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr int limitMilliseconds = 10'000;

}  // namespace

QString Network::hostName(const QString& computer) {
  QString name;
  for (const auto letter : computer.toLower())
    if ((letter >= u'a' && letter <= u'z') || (letter >= u'0' && letter <= u'9')) name.append(letter);
  return name;
}

QString Network::namespaceFile(const QString& computer) {
  return u"/run/netns/"_s + hostName(computer);
}

Network::~Network() {
  for (const auto& host : hosts_) runIp({u"netns del %1"_s.arg(host)});
}

bool Network::build(const QStringList& computers) {
  for (const auto& computer : computers) hosts_.append(hostName(computer));
  QStringList commands;
  for (const auto& host : hosts_) commands.append(u"netns add %1"_s.arg(host));
  int number = 0;
  for (int first = 0; first < hosts_.size(); ++first)
    for (int second = first + 1; second < hosts_.size(); ++second) commands += cable(first, second, number++);
  for (const auto& host : hosts_) commands.append(u"-n %1 link set lo up"_s.arg(host));
  return runIp(commands);
}

QStringList Network::cable(int first, int second, int number) {
  const auto& from = hosts_[first];
  const auto& to = hosts_[second];
  QStringList commands{u"link add eth%1 netns %2 type veth peer name eth%1 netns %3"_s.arg(number).arg(from, to)};
  for (const auto& [host, end] : {std::pair{from, 1}, std::pair{to, 2}}) {
    cables_.insert(host, number);
    commands += u"-n %1 addr add 10.77.%2.%3/24 dev eth%2"_s.arg(host).arg(number).arg(end);
    commands += bringUp(host, number);
  }
  return commands;
}

QStringList Network::bringUp(const QString& host, int cable) {
  return {u"-n %1 link set eth%2 up"_s.arg(host).arg(cable),
          u"-n %1 route replace 224.0.0.0/4 dev eth%2"_s.arg(host).arg(cable)};
}

bool Network::setConnected(const QString& computer, bool connected) {
  const auto host = hostName(computer);
  QStringList commands;
  for (const auto cable : cables_.values(host))
    commands += connected ? bringUp(host, cable) : QStringList{u"-n %1 link set eth%2 down"_s.arg(host).arg(cable)};
  return runIp(commands);
}

bool Network::runIp(const QStringList& commands) {
  for (const auto& command : commands) {
    QProcess ip;
    ip.setProcessChannelMode(QProcess::MergedChannels);
    ip.setChildProcessModifier([] { setsid(); });  // a Ctrl-C is for the world
    ip.start(u"ip"_s, command.split(u' '));
    const auto hasEnded = ip.waitForFinished(limitMilliseconds);
    if (hasEnded && ip.exitStatus() == QProcess::NormalExit && ip.exitCode() == 0) continue;
    const auto said = QString::fromUtf8(ip.readAll()).trimmed();
    error_ = u"\"ip %1\" failed: %2"_s.arg(command, said.isEmpty() ? ip.errorString() : said);
    return false;
  }
  return true;
}

}  // namespace zolvex::lab
