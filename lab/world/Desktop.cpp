#include "lab/world/Desktop.h"

#include "lab/world/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

constexpr auto avahiConfiguration = R"([server]
host-name=%1
use-ipv4=yes
use-ipv6=yes
enable-dbus=yes
ratelimit-interval-usec=1000000
ratelimit-burst=1000
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
publish-hinfo=no
)";

/// What would lead to the desktop on which the lab itself runs, or to its Bluetooth adapter.
const QStringList outerSessionVariables{
    u"DISPLAY"_s,          u"WAYLAND_DISPLAY"_s, u"XAUTHORITY"_s,     u"XDG_SESSION_ID"_s,
    u"XDG_SESSION_TYPE"_s, u"XDG_SEAT"_s,        u"XDG_VTNR"_s,       u"XDG_CURRENT_DESKTOP"_s,
    u"JOURNAL_STREAM"_s,   u"INVOCATION_ID"_s,   u"ZOLVEX_ADAPTER"_s,
};

bool writeFile(const QString& path, const QByteArray& content) {
  QSaveFile file(path);
  return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
}

}  // namespace

Desktop::Desktop(Radio& radio, Network& network, const QString& name, BluezTiming timing)
    : network_(network),
      computer_(radio, name, timing),
      hostName_(name, Network::hostName(name)),
      notifications_(name),
      control_(name),
      session_(name) {
  connect(&session_, &ComputerSession::fellAsleep, this, &Desktop::standStill);
  connect(&session_, &ComputerSession::wakesUp, this, &Desktop::goOn);
}

Desktop::~Desktop() {
  stop();
  QDir(directory()).removeRecursively();
}

QString Desktop::directory() const {
  return QLatin1String(Sandbox::directory) + u'/' + name();
}

bool Desktop::fail(const QString& what) {
  error_ = name() + u": "_s + what;
  return false;
}

bool Desktop::start() {
  if (!makeDirectories()) return fail(u"cannot write to %1"_s.arg(directory()));
  if (!computer_.start()) return fail(u"no system bus: %1"_s.arg(computer_.errorString()));
  if (!sessionBus_.start()) return fail(u"no session bus: %1"_s.arg(sessionBus_.errorString()));
  if (!hostName_.start(computer_.busAddress())) return fail(u"no hostname service"_s);
  if (!notifications_.start(sessionBus_.address())) return fail(u"no notification service"_s);
  if (!session_.start(computer_.busAddress(), sessionBus_.address())) return fail(u"no session services"_s);
  if (!control_.start(sessionBus_.address())) return fail(u"the session bus does not answer"_s);
  return saveEnvironment() && startAvahi();
}

bool Desktop::makeDirectories() {
  for (const auto& folder : {u"config/zolvex"_s, u"runtime"_s, u"home"_s})
    if (!QDir().mkpath(directory() + u'/' + folder)) return false;
  return QFile::setPermissions(directory() + u"/runtime"_s, ownerOnly);
}

bool Desktop::startAvahi() {
  const auto configuration = directory() + u"/avahi.conf"_s;
  if (!writeAvahiConfiguration(configuration)) return fail(u"cannot write %1"_s.arg(configuration));
  avahi_ = std::make_unique<LabProcess>(ProcessSetup{
      .program = u"avahi-daemon"_s,
      .arguments = {u"-f"_s, configuration, u"--no-drop-root"_s, u"--no-chroot"_s, u"--no-rlimits"_s},
      .environment = environment(),
      .networkNamespace = Network::namespaceFile(name()),
      .hostName = Network::hostName(name()),
      .hasOwnAvahiDirectory = true,
  });
  connect(avahi_.get(), &LabProcess::line, this, [this](const QString& text) { Q_EMIT logged(u"avahi"_s, text); });
  return avahi_->start() || fail(u"avahi-daemon does not start: %1"_s.arg(avahi_->errorString()));
}

bool Desktop::writeAvahiConfiguration(const QString& file) {
  return writeFile(file, QString::fromLatin1(avahiConfiguration).arg(Network::hostName(name())).toUtf8());
}

QProcessEnvironment Desktop::environment() const {
  auto environment = computer_.environment();
  for (const auto& name : outerSessionVariables) environment.remove(name);
  environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, sessionBus_.address());
  environment.insert(u"HOME"_s, directory() + u"/home"_s);
  environment.insert(u"XDG_CONFIG_HOME"_s, directory() + u"/config"_s);
  environment.insert(u"XDG_RUNTIME_DIR"_s, directory() + u"/runtime"_s);
  for (const auto& name : {u"XDG_STATE_HOME"_s, u"XDG_CACHE_HOME"_s, u"XDG_DATA_HOME"_s}) environment.remove(name);
  environment.insert(added_);
  return environment;
}

// One NAME=VALUE after the other, each ended by a zero byte, for programs that are run here from outside.
bool Desktop::saveEnvironment() {
  const auto content = environment().toStringList().join(QChar(u'\0')).toUtf8() + '\0';
  return writeFile(directory() + u"/environment"_s, content) || fail(u"cannot save the environment"_s);
}

bool Desktop::writeSettings(const QJsonObject& settings) {
  return writeFile(directory() + u"/config/zolvex/settings.json"_s, QJsonDocument(settings).toJson());
}

bool Desktop::startZolvex() {
  zolvex_ = std::make_unique<LabProcess>(ProcessSetup{
      .program = zolvexProgram_,
      .environment = environment(),
      .networkNamespace = Network::namespaceFile(name()),
      .hostName = Network::hostName(name()),
  });
  auto* process = zolvex_.get();
  connect(process, &LabProcess::line, this, [this](const QString& text) { Q_EMIT logged(u"zolvex"_s, text); });
  connect(process, &LabProcess::ended, this, [this, process] { Q_EMIT zolvexEnded(process->exitStatus()); });
  return process->start() || fail(u"cannot start %1: %2"_s.arg(zolvexProgram_, process->errorString()));
}

// The program stops first, so that it sees nothing of the rest.
void Desktop::standStill() {
  if (zolvex_) zolvex_->freeze();
  if (avahi_) avahi_->freeze();
  bluez().setAsleep(true);
  setOnNetwork(false);
}

void Desktop::goOn() {
  setOnNetwork(true);
  bluez().setAsleep(false);
  if (avahi_) avahi_->thaw();
  if (zolvex_) zolvex_->thaw();
}

void Desktop::setOnNetwork(bool connected) {
  if (!network_.setConnected(name(), connected)) qWarning("%s", qUtf8Printable(network_.errorString()));
}

void Desktop::askToEnd() {
  if (zolvex_) zolvex_->terminate();
}

void Desktop::stop() {
  if (zolvex_) zolvex_->stop();
  if (avahi_) avahi_->stop();
  session_.stop();
  computer_.stop();
  sessionBus_.stop();
}

}  // namespace zolvex::lab
