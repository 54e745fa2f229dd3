#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <memory>
#include <vector>

namespace zolvex::lab {

/// What somebody holds up, as Inhibit() of logind was asked for it.
struct Inhibitor {
  QString what;  ///< Words with colons between them, for example "shutdown:sleep".
  QString who;
  QString why;
  QString mode;  ///< "block" or "delay".
  quint32 user = 0;
  quint32 process = 0;
};

/// All locks that hold up a computer's sleep. Each is held by the last copy of a file descriptor: one end of a pipe,
/// whose other end is watched here. Owned by logind.
class Inhibitors : public QObject {
  Q_OBJECT

 public:
  Inhibitors();
  ~Inhibitors() override;

  /// A descriptor that holds the lock; it is the caller's, who passes it on and closes it. -1 when there is no pipe.
  int take(const Inhibitor& inhibitor);

  std::vector<Inhibitor> all() const;
  bool isInhibited(const QString& what, const QString& mode) const;

  /// What is held up in that mode, in the order of logind, with colons between the words.
  QString inhibitedBy(const QString& mode) const;

  /// Whether each word of `what` is one that logind knows.
  static bool isKnown(const QString& what);

 Q_SIGNALS:
  void changed();

 private:
  struct Lock;

  void dropReleased();

  std::vector<std::unique_ptr<Lock>> locks_;
};

}  // namespace zolvex::lab
