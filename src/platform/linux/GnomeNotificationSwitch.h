#pragma once

#include <QObject>

#include <chrono>
#include <functional>
#include <string>

namespace zolvex {

class BusLink;

/// Whether the user has switched a program's notifications off in GNOME's settings. GNOME keeps that for itself: it is
/// in no portal, and only GLib reads the place where it is. So the program "gsettings", which comes with GLib, is
/// asked, and only where GNOME's shell is the desktop: elsewhere the switch has no effect.
/// Owned by the notification center. Main thread, which never waits for the answer.
class GnomeNotificationSwitch final : public QObject {
  Q_OBJECT

 public:
  using Answer = std::function<void(bool isOff)>;

  /// For the bus, and again for the program, which is killed then.
  static constexpr std::chrono::milliseconds answerLimit{2'000};

  /// The link must outlive this. `applicationId` is the name of the program's desktop file, without ".desktop".
  GnomeNotificationSwitch(BusLink& sessionBus, const std::string& applicationId);
  ~GnomeNotificationSwitch() override;

  /// Whatever cannot be found out is not off. `answer` is called once, now or later; never when this has ended.
  void ask(Answer answer);

 private:
  void read(const Answer& answer);

  BusLink& sessionBus_;
  const QString schema_;
};

}  // namespace zolvex
