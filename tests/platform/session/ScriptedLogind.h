#pragma once

#include "support/ScriptedService.h"

#include <QDBusMessage>
#include <QString>
#include <QVariantMap>

#include <deque>
#include <functional>
#include <optional>
#include <vector>

namespace zolvex::test {

/// A logind with knobs. Each inhibitor it grants is one end of a pipe, whose other end tells whether it is still held.
class ScriptedLogind {
 public:
  explicit ScriptedLogind(QString busAddress) : busAddress_(std::move(busAddress)) {}
  ~ScriptedLogind();
  ScriptedLogind(const ScriptedLogind&) = delete;

  void start();
  void stop() { service_.reset(); }

  // Knobs, also while it runs.
  bool isPreparingForSleep = false;
  bool isLocked = false;
  bool refusesInhibitors = false;
  bool keepsInhibitorsBack = false;  ///< Inhibit gets its answer from answerInhibit().
  QVariantMap sessions;              ///< Object paths by what GetSession is asked for; unknown ones get an error.

  void prepareForSleep(bool isGoingToSleep);
  void answerInhibit();
  void askToLock(const QString& sessionPath, bool lock);
  void setLocked(const QString& sessionPath, bool locked);
  void sessionBegins(const QString& id, const QString& path);
  void sessionEnds(const QString& id, const QString& path);

  /// The calls of `method`, oldest first.
  std::vector<QDBusMessage> calls(const QString& method) const;

  /// Whether the inhibitor that was granted as number `index` is held by anybody.
  bool isHeld(std::size_t index) const;
  std::size_t granted() const { return watchedEnds_.size(); }

 private:
  QDBusMessage answer(const QDBusMessage& call);
  QDBusMessage grantInhibitor(const QDBusMessage& call);
  QDBusMessage property(const QDBusMessage& call) const;
  QDBusMessage session(const QDBusMessage& call) const;
  void emitSignal(const QString& path, const QString& interface, const QString& member, const QVariantList& arguments);

  const QString busAddress_;
  std::optional<ScriptedService> service_;
  std::vector<int> watchedEnds_;
  std::deque<QDBusMessage> keptBack_;
};

}  // namespace zolvex::test
