#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QPoint>

namespace zolvex {

/// Left and right clicks on what is not ours, wherever on the screen and whether or not they take the keyboard away: a
/// click on a panel does not. Only an X server tells of them, on Qt's own connection; elsewhere there is silence. It
/// listens, and is woken by each click, only while it is switched on. Main thread.
class ClicksElsewhere final : public QObject, private QAbstractNativeEventFilter {
  Q_OBJECT

 public:
  explicit ClicksElsewhere(QObject* parent = nullptr) : QObject(parent) {}
  ~ClicksElsewhere() override { setEnabled(false); }

  void setEnabled(bool isEnabled);

 Q_SIGNALS:
  /// When the button goes down.
  void clicked(const QPoint& position);

 private:
  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
  bool isClick(const QByteArray& eventType, const void* message) const;

  bool isEnabled_ = false;
  int inputExtension_ = 0;  // as the server numbers it
};

}  // namespace zolvex
