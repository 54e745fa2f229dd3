#pragma once

#include "support/ScriptedService.h"

#include <QDBusObjectPath>
#include <QString>

#include <optional>

namespace zolvex::test {

/// A desktop portal with global shortcuts whose desktop the test plays.
class FakePortal {
 public:
  struct Manners {
    bool knowsShortcuts = true;   ///< Otherwise the interface is missing, as on many desktops.
    bool knowsPrograms = true;    ///< It wants to be told our name.
    bool knowsUs = true;          ///< Otherwise Zolvex is not installed, and it gives shortcuts only to what is.
    bool isSilent = false;        ///< Calls get no reply.
    bool opensSessions = true;    ///< Otherwise a session is never answered for.
    bool decides = true;          ///< Otherwise the user is still being asked; see decide().
    unsigned decision = 0;        ///< 0 yes, 1 no, 2 something else.
    bool isOldFashioned = false;  ///< Puts requests where it likes, and answers late.
  };

  explicit FakePortal(const QString& busAddress, Manners manners);

  bool isRegistered() const { return service_.isRegistered(); }

  /// How often a method was called.
  int count(const QString& method) const;

  /// The last call of a method.
  QDBusMessage call(const QString& method) const;

  /// The objects that were to be closed, in order.
  QStringList closed() const;

  /// Opens the session that was asked for last.
  void openSession();
  QString session() const { return session_; }

  /// The user decides about the binding that is open.
  void decide(unsigned decision);

  /// The shortcut is pressed; of our session unless another is named.
  void activate(const QString& shortcut, const QString& session = {});

  /// The desktop ends the session.
  void closeSession();

  Manners manners;

 private:
  QDBusMessage answer(const QDBusMessage& call);
  QDBusMessage answerSession(const QDBusMessage& call, const QVariantMap& options);
  QDBusMessage answerBinding(const QDBusMessage& call, const QVariantMap& options);
  QString requestOf(const QDBusMessage& call, const QVariantMap& options) const;
  void respond(const QString& request, unsigned code, const QVariantMap& results);
  void tell(const QString& path, const QString& interface, const QString& member, const QVariantList& arguments);

  QString client_;
  QString session_;
  QString openCreation_;
  QString openBinding_;
  ScriptedService service_;
};

}  // namespace zolvex::test
