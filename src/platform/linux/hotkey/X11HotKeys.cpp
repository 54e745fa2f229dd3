#include "platform/linux/hotkey/X11HotKeys.h"

#include "core/Log.h"

#include <QSocketNotifier>

#include <utility>
#include <xcb/xproto.h>

namespace zolvex {

namespace {

constexpr Logger logger("HotKey");

}  // namespace

X11HotKeys::X11HotKeys(MainQueue& mainQueue, std::string display)
    : mainQueue_(mainQueue), display_(std::move(display)), opening_(mainQueue) {}

X11HotKeys::~X11HotKeys() = default;

HotKeys::Status X11HotKeys::installHandler(Handler handler) {
  handler_ = std::move(handler);
  return noError;
}

void X11HotKeys::removeHandler() {
  handler_ = nullptr;
}

void X11HotKeys::registerHotKey(const HotKey& hotKey, Answer answer) {
  close();
  hotKey_ = hotKey;
  answer_ = std::move(answer);
  connect();
}

void X11HotKeys::connect() {
  opening_.start([display = display_] { return X11Keyboard::open(display); },
                 [this](std::unique_ptr<X11Keyboard> keyboard) { connected(std::move(keyboard)); });
}

void X11HotKeys::connected(std::unique_ptr<X11Keyboard> keyboard) {
  if (!keyboard) return missing("no X server yet at");
  isAbsenceLogged_ = false;
  keyboard_ = std::move(keyboard);
  notifier_ = std::make_unique<QSocketNotifier>(keyboard_->descriptor(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { readable(); });
  askMapping();
}

void X11HotKeys::missing(const char* what) {
  if (!std::exchange(isAbsenceLogged_, true)) logger.info("{} {}, waiting for it", what, display_);
  retry_ = mainQueue_.after(retryInterval, [this] { connect(); });
}

void X11HotKeys::askMapping() {
  limit_ = mainQueue_.after(answerLimit, [this] { silent(); });
  keyboard_->askMapping();
}

void X11HotKeys::readable() {
  const auto arrived = keyboard_->take();
  if (keyboard_->isBroken()) return serverGone();
  for (int i = 0; i < arrived.presses; ++i) pressed();
  if (!keyboard_) return;  // the press was answered by giving up the hot key
  if (arrived.mapping) mapped(*arrived.mapping);
  if (arrived.isMappingChanged) askMapping();
  if (arrived.grabOutcome) grabbed(*arrived.grabOutcome);
}

void X11HotKeys::mapped(const X11KeyboardMapping& mapping) {
  answered();
  auto combinations = mapping.combinationsFor(hotKey_);
  if (combinations == keyboard_->grabbed()) return;
  limit_ = mainQueue_.after(answerLimit, [this] { silent(); });
  keyboard_->grab(std::move(combinations));
}

void X11HotKeys::grabbed(int error) {
  answered();
  if (error != 0) return failed(error);
  if (isRegistered_) return logger.info("the hot key follows the new keyboard layout");
  isRegistered_ = true;
  if (const auto answer = std::exchange(answer_, nullptr)) answer({});
}

void X11HotKeys::failed(int error) {
  const bool isHeldByAnother = error == XCB_ACCESS;
  if (isHeldByAnother) logger.info("another program holds Ctrl+Alt+{}", static_cast<char>(hotKey_.key - 'a' + 'A'));
  const bool wasRegistered = isRegistered_;
  const auto answer = std::exchange(answer_, nullptr);
  close();
  if (wasRegistered) return lost.emit();
  if (answer) answer({error, isHeldByAnother});
}

void X11HotKeys::pressed() const {
  if (const auto handler = handler_; isRegistered_ && handler) handler(hotKey_.identifier);
}

void X11HotKeys::serverGone() {
  const bool wasRegistered = isRegistered_;
  auto answer = std::exchange(answer_, nullptr);
  close();
  answer_ = std::move(answer);
  isAbsenceLogged_ = false;
  missing("lost the X server");
  if (wasRegistered) lost.emit();
}

void X11HotKeys::answered() {
  limit_.cancel();
  if (std::exchange(isSilenceLogged_, false)) logger.info("the X server {} answers again", display_);
}

void X11HotKeys::silent() {
  if (!std::exchange(isSilenceLogged_, true)) logger.error("the X server {} does not answer", display_);
}

void X11HotKeys::unregisterHotKey() {
  close();
}

void X11HotKeys::close() {
  opening_.cancel();
  retry_.cancel();
  limit_.cancel();
  isRegistered_ = false;
  answer_ = nullptr;
  if (notifier_) {
    // Not at once: it may be its own signal that is being handled.
    notifier_->setEnabled(false);
    notifier_.release()->deleteLater();
  }
  keyboard_.reset();
}

}  // namespace zolvex
