// Start-up in its fixed order: runtime check, settings (with the suffix and
// gaiji tables), main window; the window's first activation takes the command
// line.

#include "ui/startup.h"

// ferrox
#include "app/settings_store.h"
#include "text/cp932.h"
#include "ui/app_icon.h"
#include "ui/main_window.h"
#include "ui/message_box.h"

// Qt
#include <QApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QScreen>
#include <QTranslator>

namespace ferrox::ui {
namespace {

// The first run places the window in the middle of the screen.
WindowPosition CentredPosition(const QSize& size) {
  const QScreen* screen = QGuiApplication::primaryScreen();
  if (screen == nullptr) return {};
  const QRect area = screen->availableGeometry();
  return {area.x() + (area.width() - size.width()) / 2, area.y() + (area.height() - size.height()) / 2};
}

// A stored position that no screen shows any more is replaced by the centre.
QPoint VisiblePosition(const ConversionSettings& s, const QSize& size) {
  const QPoint stored(s.Left, s.Top);
  for (const QScreen* screen : QGuiApplication::screens()) {
    if (screen->availableGeometry().contains(stored + QPoint(40, 20))) return stored;
  }
  const WindowPosition centre = CentredPosition(size);
  return {centre.left, centre.top};
}

}  // namespace

bool CheckJapaneseRuntime(QWidget* owner, bool available) {
  if (available) return true;
  ShowMessage({owner, MsgKind::Critical, QApplication::applicationDisplayName() + QStringLiteral(" 起動エラー"),
               QStringLiteral("必要な CP932 の変換機能 (C ライブラリの iconv) が見つかりませんでした。"),
               QMessageBox::Ok, QMessageBox::Ok});
  return false;
}

void PreferPortalFileDialogs() {
  if (qEnvironmentVariableIsSet("QT_QPA_PLATFORMTHEME") || qEnvironmentVariableIsEmpty("XDG_CURRENT_DESKTOP")) {
    return;
  }
  const QString plugin = QLibraryInfo::path(QLibraryInfo::PluginsPath) +
                         QStringLiteral("/platformthemes/libqxdgdesktopportal.so");
  // Without a running portal the theme falls back to Qt's own dialog.
  if (QFileInfo::exists(plugin)) qputenv("QT_QPA_PLATFORMTHEME", "xdgdesktopportal");
}

bool LoadQtJapanese() {
  // Every text of the program is Japanese whatever the locale, so Qt's are too.
  auto* translator = new QTranslator(qApp);
  if (!translator->load(QStringLiteral("qtbase_ja"), QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    delete translator;
    return false;
  }
  QCoreApplication::installTranslator(translator);
  return true;
}

int RunFerroxGui(const QStringList& arguments) {
  QApplication::setApplicationDisplayName(QStringLiteral("Ferrox"));
  QApplication::setWindowIcon(AppIcon());
  QGuiApplication::setDesktopFileName(QStringLiteral("ferrox-gui"));  // ties the windows to the desktop entry
  (void)LoadQtJapanese();  // without them the dialogs' own buttons stay English
  if (!CheckJapaneseRuntime(nullptr, cp932::Available())) return 1;

  SettingsStore store;
  const QSize windowSize(560, 380);
  const SettingsLoadResult loaded = store.Load(CentredPosition(windowSize));
  if (loaded.suffix.Failed()) Exclaim(nullptr, QString::fromStdString(SuffixLoadMessage(loaded.suffix)));

  MainWindow window(store, arguments);
  window.move(VisiblePosition(store.Settings, window.size()));
  QObject::connect(&window, &MainWindow::closed, qApp, &QApplication::quit, Qt::QueuedConnection);
  window.show();
  return QApplication::exec();
}

}  // namespace ferrox::ui
