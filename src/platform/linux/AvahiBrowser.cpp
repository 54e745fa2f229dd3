#include "platform/linux/AvahiBrowser.h"

#include "core/Log.h"
#include "platform/linux/AvahiDaemon.h"
#include "platform/linux/AvahiNames.h"

#include <array>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

const auto serverInterface = u"org.freedesktop.Avahi.Server2"_s;
const auto browserInterface = u"org.freedesktop.Avahi.ServiceBrowser"_s;

constexpr uint noFlags = 0;
constexpr uint flagLocal = 8;  // AVAHI_LOOKUP_RESULT_LOCAL

struct BrowserSignal {
  QString name;
  const char* slot;
};

const std::array browserSignals{
    BrowserSignal{u"ItemNew"_s, SLOT(itemNew(QDBusMessage))},
    BrowserSignal{u"ItemRemove"_s, SLOT(itemRemove(QDBusMessage))},
    BrowserSignal{u"AllForNow"_s, SLOT(allForNow(QDBusMessage))},
    BrowserSignal{u"Failure"_s, SLOT(failure(QDBusMessage))},
};

/// The arguments that ItemNew and ItemRemove share.
struct Item {
  explicit Item(const QDBusMessage& message)
      : place(message.arguments().value(0).toInt(), message.arguments().value(1).toInt()),
        name(message.arguments().value(2).toString().toStdString()),
        isLocal((message.arguments().value(5).toUInt() & flagLocal) != 0) {}

  std::pair<int, int> place;
  std::string name;
  bool isLocal;
};

}  // namespace

AvahiBrowser::AvahiBrowser(AvahiDaemon& daemon)
    : daemon_(daemon),
      started_(daemon.started.observe([this] { begin(); })),
      ended_(daemon.ended.observe([this] { daemonEnded(); })) {}

AvahiBrowser::~AvahiBrowser() {
  stop();
}

void AvahiBrowser::searchForServices(const std::string& type, const std::string& domain,
                                     ServiceBrowserListener& listener) {
  stop();
  type_ = avahi::withoutDot(type);
  domain_ = avahi::withoutDot(domain);
  listener_ = &listener;
  begin();
}

void AvahiBrowser::stop() {
  listener_ = nullptr;
  services_.clear();
  dropBrowser();
}

void AvahiBrowser::begin() {
  if (!listener_ || !daemon_.isRunning()) return;
  dropBrowser();
  daemon_.callServer(serverInterface, u"ServiceBrowserPrepare"_s,
                     {avahi::anyInterface, avahi::anyProtocol, type_, domain_, noFlags}, this,
                     [this, attempt = attempt_](const QDBusMessage& reply) {
                       const auto path = avahi::pathIn(reply);
                       if (attempt != attempt_) return daemon_.tell(path, browserInterface, u"Free"_s);
                       if (!path.isEmpty()) return browserMade(path);
                       logger.error("Cannot browse for peers: {}", reply.errorMessage().toStdString());
                     });
}

/// The browser is silent until it is started, so nothing is missed.
void AvahiBrowser::browserMade(const QString& path) {
  browserPath_ = path;
  for (const auto& [name, slot] : browserSignals) daemon_.listen(path, browserInterface, name, this, slot);
  daemon_.tell(path, browserInterface, u"Start"_s);
}

bool AvahiBrowser::isFromBrowser(const QDBusMessage& message) const {
  return listener_ && !browserPath_.isEmpty() && message.path() == browserPath_;
}

void AvahiBrowser::itemNew(const QDBusMessage& message) {
  if (!isFromBrowser(message)) return;
  const Item item(message);
  const auto [entry, isNew] = services_.try_emplace(item.name);
  auto& sighting = entry->second;
  const auto isBack = !isNew && sighting.places.empty();
  sighting.places.insert(item.place);
  if (isNew || (isBack && sighting.isLocal != item.isLocal)) {
    sighting.isLocal = item.isLocal;
    return listener_->serviceFound(item.name, item.isLocal);
  }
  if (isBack && sighting.resolveLimit) startResolving(item.name, sighting);
}

void AvahiBrowser::itemRemove(const QDBusMessage& message) {
  if (!isFromBrowser(message)) return;
  const Item item(message);
  const auto found = services_.find(item.name);
  if (found == services_.end()) return;
  found->second.places.erase(item.place);
  if (!found->second.places.empty()) return;
  services_.erase(found);
  listener_->serviceRemoved(item.name);
}

void AvahiBrowser::allForNow(const QDBusMessage& message) {
  if (!isFromBrowser(message)) return;
  std::vector<std::string> missing;
  for (const auto& [name, sighting] : services_)
    if (sighting.places.empty()) missing.push_back(name);
  for (const auto& name : missing) {
    services_.erase(name);
    if (listener_) listener_->serviceRemoved(name);
  }
}

void AvahiBrowser::failure(const QDBusMessage& message) {
  if (!isFromBrowser(message)) return;
  logger.error("Cannot browse for peers any more: {}", message.arguments().value(0).toString().toStdString());
  dropBrowser();
}

void AvahiBrowser::resolve(const std::string& name, Seconds limit) {
  const auto found = services_.find(name);
  if (found == services_.end()) return;
  found->second.resolveLimit = limit;
  startResolving(name, found->second);
}

void AvahiBrowser::startResolving(const std::string& name, Sighting& sighting) {
  if (!daemon_.isRunning()) return;  // resolved when it is seen again
  sighting.resolver = std::make_unique<AvahiResolver>(
      daemon_, AvahiResolver::Service{QString::fromStdString(name), type_, domain_}, *sighting.resolveLimit,
      [this, name](const std::vector<std::string>& addresses, std::uint16_t port) {
        listener_->serviceResolved(name, addresses, port);
      });
}

void AvahiBrowser::daemonEnded() {
  dropBrowser();
  for (auto& [name, sighting] : services_) {
    sighting.places.clear();
    sighting.resolver.reset();
  }
}

void AvahiBrowser::dropBrowser() {
  ++attempt_;
  if (browserPath_.isEmpty()) return;
  for (const auto& [name, slot] : browserSignals) daemon_.ignore(browserPath_, browserInterface, name, this, slot);
  daemon_.tell(browserPath_, browserInterface, u"Free"_s);
  browserPath_.clear();
}

}  // namespace zolvex
