#pragma once

#include "ui/AlertPresentation.h"
#include "ui/HeaderPresentation.h"
#include "ui/MainActionPresentation.h"
#include "ui/PeerSectionPresentation.h"
#include "ui/PreferencesPresentation.h"
#include "ui/SettingsPresentation.h"

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

/// The presentation's values in the form that QML reads. Symbols and colours are names.
namespace zolvex {

struct HeaderValue {
  Q_GADGET
  QML_VALUE_TYPE(headerValue)
  Q_PROPERTY(QString title MEMBER title)
  Q_PROPERTY(QString subtitle MEMBER subtitle)
  Q_PROPERTY(bool showsSpinner MEMBER showsSpinner)
  Q_PROPERTY(QString symbol MEMBER symbol)
  Q_PROPERTY(QString colour MEMBER colour)
  Q_PROPERTY(bool showsCancel MEMBER showsCancel)
  Q_PROPERTY(QString cancel MEMBER cancel)

 public:
  static HeaderValue from(const HeaderPresentation& header);

  QString title, subtitle;
  bool showsSpinner = false;
  QString symbol, colour;
  bool showsCancel = false;
  QString cancel;
};

struct ActionValue {
  Q_GADGET
  QML_VALUE_TYPE(actionValue)
  Q_PROPERTY(QString text MEMBER text)
  Q_PROPERTY(QString symbol MEMBER symbol)
  Q_PROPERTY(QString tint MEMBER tint)

 public:
  static ActionValue from(const ActionButton& button);

  QString text, symbol, tint;
};

struct SectionValue {
  Q_GADGET
  QML_VALUE_TYPE(sectionValue)
  Q_PROPERTY(QString symbol MEMBER symbol)
  Q_PROPERTY(QString title MEMBER title)
  Q_PROPERTY(QString summary MEMBER summary)
  Q_PROPERTY(QString chevron MEMBER chevron)
  Q_PROPERTY(bool isExpanded MEMBER isExpanded)

 public:
  static SectionValue from(const SectionHeader& header, bool isExpanded);

  QString symbol, title, summary, chevron;
  bool isExpanded = false;
};

struct PeerValue {
  Q_GADGET
  QML_VALUE_TYPE(peerValue)
  Q_PROPERTY(QString name MEMBER name)
  Q_PROPERTY(QString dot MEMBER dot)
  Q_PROPERTY(QString detail MEMBER detail)
  Q_PROPERTY(QString button MEMBER button)
  Q_PROPERTY(bool isProminent MEMBER isProminent)
  Q_PROPERTY(QString tint MEMBER tint)

 public:
  static PeerValue from(const PeerRow& row);

  QString name, dot, detail, button;
  bool isProminent = false;
  QString tint;
};

struct ToggleValue {
  Q_GADGET
  QML_VALUE_TYPE(toggleValue)
  Q_PROPERTY(QString title MEMBER title)
  Q_PROPERTY(bool isOn MEMBER isOn)
  Q_PROPERTY(QString hint MEMBER hint)
  Q_PROPERTY(QString tooltip MEMBER tooltip)

 public:
  static ToggleValue from(const ToggleRow& row);

  QString title;
  bool isOn = false;
  QString hint, tooltip;
};

struct AlertValue {
  Q_GADGET
  QML_VALUE_TYPE(alertValue)
  Q_PROPERTY(QString title MEMBER title)
  Q_PROPERTY(QString message MEMBER message)
  Q_PROPERTY(QString cancel MEMBER cancel)
  Q_PROPERTY(QString confirm MEMBER confirm)

 public:
  static AlertValue from(const AlertPresentation& alert);

  QString title, message, cancel, confirm;
};

}  // namespace zolvex
