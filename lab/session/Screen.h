#pragma once

#include <QObject>

namespace zolvex::lab {

/// The screen of one computer as its desktop keeps it: locked or not, lit or dark. The services of the computer tell
/// programs of it and change it. Owned by the computer's session.
class Screen : public QObject {
  Q_OBJECT

 public:
  bool isLocked() const { return isLocked_; }
  bool isLit() const { return isLit_; }

  /// Harmless when it is so already.
  void setLocked(bool locked);
  void setLit(bool lit);

  /// A program acts as if the user had touched something: a dark screen is lit.
  void simulateActivity();

 Q_SIGNALS:
  void lockedChanged(bool locked);
  void litChanged(bool lit);
  void activitySimulated();

 private:
  bool isLocked_ = false;
  bool isLit_ = true;
};

}  // namespace zolvex::lab
