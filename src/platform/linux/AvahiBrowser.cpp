#include "platform/linux/AvahiBrowser.h"

#include "core/Log.h"
#include "platform/linux/AvahiDaemon.h"

#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

constexpr uint flagLocal = 8;  // AVAHI_LOOKUP_RESULT_LOCAL

}  // namespace

/// The arguments that ItemNew and ItemRemove share.
struct AvahiBrowser::Item {
  explicit Item(const QVariantList& arguments)
      : place(arguments.value(0).toInt(), arguments.value(1).toInt()),
        name(arguments.value(2).toString().toStdString()),
        isLocal((arguments.value(5).toUInt() & flagLocal) != 0) {}

  std::pair<int, int> place;
  std::string name;
  bool isLocal;
};

AvahiBrowser::AvahiBrowser(AvahiDaemon& daemon, std::chrono::milliseconds retryPause)
    : daemon_(daemon),
      retryPause_(retryPause),
      started_(daemon.started.observe([this] { begin(); })),
      ended_(daemon.ended.observe([this] { browsingEnded(); })) {
  retry_.setSingleShot(true);
  QObject::connect(&retry_, &QTimer::timeout, &retry_, [this] { begin(); });
}

AvahiBrowser::~AvahiBrowser() {
  stop();
}

void AvahiBrowser::searchForServices(const std::string& type, const std::string& domain,
                                     ServiceBrowserListener& listener) {
  stop();
  type_ = avahi::withoutDot(type);
  domain_ = avahi::withoutDot(domain);
  listener_ = &listener;
  isLeavingOutLogged_ = false;
  begin();
}

void AvahiBrowser::stop() {
  listener_ = nullptr;
  services_.clear();
  browser_.reset();
  retry_.stop();
}

/// The daemon tells everything it knows once more.
void AvahiBrowser::begin() {
  if (!listener_ || !daemon_.isRunning()) return;
  retry_.stop();
  hasLeftOut_ = false;
  for (auto& [name, sighting] : services_) sighting.places.clear();
  AvahiObject::Events events;
  events.signal = [this](const QDBusMessage& signal) { signalled(signal); };
  events.failed = [this](const QString& error) { failed(error); };
  browser_ = std::make_unique<AvahiObject>(
      daemon_, u"ServiceBrowser"_s,
      QVariantList{avahi::anyInterface, avahi::anyProtocol, type_, domain_, avahi::noFlags}, std::move(events));
}

void AvahiBrowser::signalled(const QDBusMessage& signal) {
  const auto arguments = signal.arguments();
  if (signal.member() == u"ItemNew"_s) return itemNew(Item(arguments));
  if (signal.member() == u"ItemRemove"_s) return itemRemove(Item(arguments));
  if (signal.member() == u"AllForNow"_s) return allForNow();
  failed(arguments.value(0).toString());
}

void AvahiBrowser::itemNew(const Item& item) {
  if (services_.size() >= maximumServices && !services_.contains(item.name)) return leaveOut();
  const auto [entry, isNew] = services_.try_emplace(item.name);
  auto& sighting = entry->second;
  const auto isBack = !isNew && sighting.places.empty();
  sighting.places.insert(item.place);
  if (isNew || (isBack && sighting.isLocal != item.isLocal)) {
    sighting.isLocal = item.isLocal;
    return listener_->serviceFound(item.name, item.isLocal);
  }
  if (isBack && sighting.resolveLimit && !sighting.resolver) startResolving(item.name, sighting);
}

void AvahiBrowser::leaveOut() {
  hasLeftOut_ = true;
  if (!std::exchange(isLeavingOutLogged_, true))
    logger.error("More than {} services: leaving some out until others have gone", maximumServices);
}

void AvahiBrowser::itemRemove(const Item& item) {
  const auto found = services_.find(item.name);
  if (found == services_.end()) return;
  auto& sighting = found->second;
  const auto hasLeft = sighting.places.erase(item.place) != 0;
  if (sighting.places.empty()) return remove(item.name);
  // What it resolved to may have been there only.
  if (hasLeft && sighting.resolver) startResolving(item.name, sighting);
}

/// The daemon has told what it knew and what was answered at once: what it knew when we browsed before and has not
/// mentioned again is gone.
void AvahiBrowser::allForNow() {
  std::vector<std::string> missing;
  for (const auto& [name, sighting] : services_)
    if (sighting.places.empty()) missing.push_back(name);
  for (const auto& name : missing)
    if (listener_) remove(name);
}

void AvahiBrowser::remove(const std::string& name) {
  services_.erase(name);
  // Not at once for each: anybody can make services come and go.
  if (hasLeftOut_ && !retry_.isActive()) retry_.start(retryPause_);
  listener_->serviceRemoved(name);
}

void AvahiBrowser::failed(const QString& error) {
  logger.error("Cannot browse for peers: {}", error.toStdString());
  browsingEnded();
  retry_.start(retryPause_);
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

void AvahiBrowser::browsingEnded() {
  browser_.reset();
  for (auto& [name, sighting] : services_) sighting.resolver.reset();
}

}  // namespace zolvex
