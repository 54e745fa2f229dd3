#include "platform/linux/X11DisplayPower.h"

#include "core/Log.h"
#include "platform/linux/X11Connection.h"

#include <QSocketNotifier>

#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("SessionEvents");

}  // namespace

X11DisplayPower::X11DisplayPower(MainQueue& mainQueue, SessionAspect& displayOff)
    : mainQueue_(mainQueue), displayOff_(displayOff), source_(displayOff.addSource("X11")), opening_(mainQueue) {}

X11DisplayPower::~X11DisplayPower() = default;

void X11DisplayPower::start(std::string display) {
  display_ = std::move(display);
  attempt();
}

void X11DisplayPower::attempt() {
  limit_ = mainQueue_.after(answerLimit, [this] { silent(); });
  opening_.start([display = display_] { return X11Connection::open(display); },
                 [this](std::unique_ptr<X11Connection> connection) { attemptEnded(std::move(connection)); });
}

void X11DisplayPower::attemptEnded(std::unique_ptr<X11Connection> connection) {
  limit_.cancel();
  if (!connection) return missing("no X server that tells of its displays yet at");
  connection_ = std::move(connection);
  isAbsenceLogged_ = false;
  logger.info("connected to the X server {}", display_);
  notifier_ = std::make_unique<QSocketNotifier>(connection_->descriptor(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { readable(); });
  ask();
}

void X11DisplayPower::missing(const char* what) {
  displayOff_.lost(source_);
  if (!std::exchange(isAbsenceLogged_, true)) logger.info("{} {}, waiting for it", what, display_);
  next_ = mainQueue_.after(retryInterval, [this] { attempt(); });
}

void X11DisplayPower::ask() {
  isAsking_ = true;
  isStale_ = false;
  limit_ = mainQueue_.after(answerLimit, [this] { silent(); });
  connection_->ask();
}

/// Reading one kind of message may bring in others, after which nothing announces them: look for changes once more.
void X11DisplayPower::readable() {
  auto hasChanged = connection_->takeChange();
  const auto answer = isAsking_ ? connection_->takeAnswer() : std::nullopt;
  hasChanged |= connection_->takeChange();
  if (connection_->isBroken()) return drop();
  if (answer) answered(*answer);
  isStale_ |= hasChanged;
  if (isAsking_) return;
  if (isWakeWanted_) return wakeDisplay();
  if (isStale_) ask();
}

void X11DisplayPower::answered(bool isOff) {
  isAsking_ = false;
  limit_.cancel();
  if (std::exchange(isSilenceLogged_, false)) logger.info("the X server {} answers again", display_);
  std::exchange(wasFound_, true) ? displayOff_.changed(source_, isOff) : displayOff_.found(source_, isOff);
  if (!connection_->tellsChanges()) next_ = mainQueue_.after(pollInterval, [this] { ask(); });
}

void X11DisplayPower::silent() {
  if (!std::exchange(isSilenceLogged_, true)) logger.error("the X server {} does not answer", display_);
  wasFound_ = false;
  displayOff_.lost(source_);
}

void X11DisplayPower::drop() {
  limit_.cancel();
  isAsking_ = false;
  isWakeWanted_ = false;
  wasFound_ = false;
  // Not at once: it may be its own signal that is being handled.
  notifier_->setEnabled(false);
  notifier_.release()->deleteLater();
  connection_.reset();
  isAbsenceLogged_ = false;
  missing("lost the X server");
}

void X11DisplayPower::wakeDisplay() {
  // While an answer is missing nothing more is sent, so that it never piles up before a server that hangs.
  isWakeWanted_ = isAsking_;
  if (!connection_ || isAsking_) return;
  connection_->wakeDisplay();
  ask();
}

}  // namespace zolvex
