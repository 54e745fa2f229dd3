#pragma once

#include "ui/PopoverPresentation.h"
#include "ui/UserInterface.h"
#include "ui/qt/AboutModel.h"
#include "ui/qt/MainModel.h"
#include "ui/qt/SettingsModel.h"
#include "ui/qt/StateWatch.h"

#include <QObject>
#include <QtQmlIntegration>

namespace zolvex {

/// What the popover shows: one of three pages, each with its model. While the popover is closed nothing is worked out;
/// open() brings everything up to date. Main thread.
class PopoverModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("made by the application")
  Q_PROPERTY(Page page READ page NOTIFY pageChanged)
  Q_PROPERTY(zolvex::MainModel* mainPage READ mainPage CONSTANT)
  Q_PROPERTY(zolvex::SettingsModel* settings READ settings CONSTANT)
  Q_PROPERTY(zolvex::AboutModel* about READ about CONSTANT)
  Q_PROPERTY(QString title READ title CONSTANT)
  Q_PROPERTY(QString hotKeyBadge READ hotKeyBadge CONSTANT)
  Q_PROPERTY(QString hotKeyTooltip READ hotKeyTooltip CONSTANT)
  Q_PROPERTY(QString hotKeyColour READ hotKeyColour CONSTANT)
  Q_PROPERTY(QString aboutSymbol READ aboutSymbol CONSTANT)
  Q_PROPERTY(QString aboutName READ aboutName CONSTANT)
  Q_PROPERTY(QString settingsSymbol READ settingsSymbol CONSTANT)
  Q_PROPERTY(QString settingsName READ settingsName CONSTANT)
  Q_PROPERTY(QString version READ version CONSTANT)
  Q_PROPERTY(QString versionColour READ versionColour CONSTANT)
  Q_PROPERTY(QString quitText READ quitText CONSTANT)
  Q_PROPERTY(QString quitTint READ quitTint CONSTANT)

 public:
  enum class Page { Main, About, Settings };  // those of PopoverPage
  Q_ENUM(Page)

  explicit PopoverModel(const UserInterfaceObjects& objects, QObject* parent = nullptr);

  /// The popover is about to be shown, or was closed.
  void open();
  void close() { isOpen_ = false; }

  Page page() const { return static_cast<Page>(popoverPage(showSettings_, showAbout_)); }
  MainModel* mainPage() { return &main_; }
  SettingsModel* settings() { return &settings_; }
  AboutModel* about() { return &about_; }
  QString title() const;
  QString hotKeyBadge() const;
  QString hotKeyTooltip() const;
  QString hotKeyColour() const;
  QString aboutSymbol() const;
  QString aboutName() const;
  QString settingsSymbol() const;
  QString settingsName() const;
  QString version() const;
  QString versionColour() const;
  QString quitText() const;
  QString quitTint() const;

 public Q_SLOTS:
  void showSettings();
  void showAbout();

  /// Back to the main page.
  void back();
  void quit();

 Q_SIGNALS:
  void pageChanged();

 private:
  void refresh();

  UserInterfaceObjects use_;
  const PopoverFrame frame_;
  MainModel main_;
  SettingsModel settings_;
  AboutModel about_;
  bool isOpen_ = false;
  bool showSettings_ = false;
  bool showAbout_ = false;
  StateWatch watch_;
};

}  // namespace zolvex
