#pragma once

#include "ui/qt/EmbeddingTray.h"

#include <QObject>

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

  /// Looks for a panel, and from now on for each change.
  void start();

  Kind kind() const { return kind_; }

  /// Looks for what nothing announces; call it from time to time.
  void look();

 Q_SIGNALS:
  void changed();

 private:
  void watchStatusNotifiers();
  Kind find();

  EmbeddingTray embeddingTray_;
  Kind kind_ = Kind::none;
  bool isAsking_ = false;  // whether there are status notifiers
  bool hasStatusNotifierWatcher_ = false;
};

}  // namespace zolvex
