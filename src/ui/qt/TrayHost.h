#pragma once

#include "ui/qt/EmbeddingTray.h"

#include <QDBusConnection>
#include <QObject>

#include <memory>

class QDBusServiceWatcher;

namespace zolvex {

/// Whether a panel is there that takes the status item, and what it lets us know of clicks. A panel may come late,
/// restart, or never come. Main thread.
class TrayHost final : public QObject {
  Q_OBJECT

 public:
  enum class Kind {
    none,
    bothClicks,  ///< It delivers left and right clicks.
    menu,        ///< It delivers no right click, and perhaps no left one, but shows a menu.
  };

  explicit TrayHost(QObject* parent = nullptr);
  ~TrayHost() override;

  /// Looks for a panel on this bus, and from now on for each change; on none when it is not connected.
  void follow(const QDBusConnection& sessionBus);

  Kind kind() const { return kind_; }

  /// Looks for what nothing announces; call it from time to time.
  void look();

 Q_SIGNALS:
  void changed();

 private:
  void watchStatusNotifiers(const QDBusConnection& sessionBus);
  Kind find();

  EmbeddingTray embeddingTray_;
  Kind kind_ = Kind::none;
  bool isAsking_ = false;  // whether there are status notifiers
  bool hasStatusNotifierWatcher_ = false;
  std::unique_ptr<QDBusServiceWatcher> statusNotifierWatch_;  // of the bus that is followed
};

}  // namespace zolvex
