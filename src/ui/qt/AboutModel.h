#pragma once

#include "ui/AboutPresentation.h"

#include <QAbstractListModel>
#include <QObject>
#include <QtQmlIntegration>

#include <functional>
#include <optional>
#include <string>

namespace zolvex {

/// The About page, and what "Acknowledgements" opens. Nothing on it changes. Main thread.
class AboutModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("made by the application")
  Q_PROPERTY(QString backSymbol READ backSymbol CONSTANT)
  Q_PROPERTY(QString title READ title CONSTANT)
  Q_PROPERTY(QString image READ image CONSTANT)
  Q_PROPERTY(QString line READ line CONSTANT)
  Q_PROPERTY(QStringList buttons READ buttons CONSTANT)
  Q_PROPERTY(QString acknowledgements READ acknowledgements CONSTANT)
  Q_PROPERTY(QString acknowledgementsText READ acknowledgementsText CONSTANT)
  Q_PROPERTY(QString licence READ licence CONSTANT)
  Q_PROPERTY(QString done READ done CONSTANT)

 public:
  using HelpAddress = std::function<std::optional<std::string>()>;

  explicit AboutModel(HelpAddress helpAddress, QObject* parent = nullptr);

  QString backSymbol() const;
  QString title() const;
  QString image() const;
  QString line() const;
  QStringList buttons() const;
  QString acknowledgements() const;
  QString acknowledgementsText() const;
  QString licence() const;
  QString done() const;

  Q_INVOKABLE QString tint(int button) const;
  Q_INVOKABLE bool isProminent(int button) const;
  Q_INVOKABLE bool isEnabled(int button) const;
  Q_INVOKABLE void run(int button);

 Q_SIGNALS:
  void acknowledgementsWanted();

 private:
  const AboutButton& button(int index) const { return shown_.buttons.at(static_cast<std::size_t>(index)); }
  void openHelp() const;

  const HelpAddress helpAddress_;
  const AboutPresentation shown_ = presentAbout(false);  // nothing here checks for updates
  const AcknowledgementsPresentation licence_ = presentAcknowledgements();
};

}  // namespace zolvex
