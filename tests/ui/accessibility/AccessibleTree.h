#pragma once

#include <QDBusConnection>
#include <QRect>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

namespace zolvex::test {

/// One thing that a program shows, as it tells screen readers of it.
struct Accessible {
  /// Roles by their numbers in AT-SPI; their names depend on its version.
  enum Role : std::uint32_t {
    checkBox = 7,
    comboBox = 11,
    dialog = 16,
    frame = 23,
    label = 29,
    list = 31,
    listItem = 32,
    button = 43,
    heading = 83,
    toggleSwitch = 130,  ///< What newer versions of Qt call a check box that looks like a switch.
  };
  enum State { checked = 4, enabled = 8, focusable = 11, focused = 12, sensitive = 24, showing = 25 };

  bool is(State state) const { return (states >> state & 1U) != 0; }
  bool isControl() const {
    return role == checkBox || role == toggleSwitch || role == comboBox || role == button || role == listItem;
  }

  QString service = {}, path = {};  ///< Where it is.
  std::uint32_t role = 0;
  QString name = {}, description = {};
  std::uint64_t states = 0;
  QStringList actions = {};
};

/// What all programs of one session show now, read from the bus of screen readers as these read it. Each look asks
/// anew; what vanishes in between is left out. Every call has a limit.
class AccessibleTree {
 public:
  /// `sessionBus`: the address of the bus on which org.a11y.Bus tells where that other bus is.
  explicit AccessibleTree(const QString& sessionBus);
  ~AccessibleTree();
  AccessibleTree(const AccessibleTree&) = delete;

  bool isConnected() const { return bus_.isConnected(); }

  /// All that is on the screen, parents before their children.
  std::vector<Accessible> read() const;
  std::optional<Accessible> find(Accessible::Role role, const QString& name) const;

  /// Where it is on the screen.
  QRect placeOf(const Accessible& one) const;

  /// Does what the screen reader's user asks for by pressing it. False when it cannot be pressed.
  bool press(const Accessible& one) const;

 private:
  void walk(const QString& service, const QString& path, std::vector<Accessible>& found) const;
  Accessible look(const QString& service, const QString& path) const;
  QVariant ask(const Accessible& one, const QString& interface, const QString& method,
               const QVariantList& arguments = {}) const;

  QString name_;
  QDBusConnection bus_;
};

}  // namespace zolvex::test
