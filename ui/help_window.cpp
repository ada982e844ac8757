// The help window and the search for the help file.

#include "ui/help_window.h"

#include <algorithm>

// ferrox
#include "ui/message_box.h"

// Qt
#include <QApplication>
#include <QDialog>
#include <QScreen>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace ferrox::ui {
namespace {

const QString kHelpFileName = QStringLiteral("ferrox.html");

QPointer<HelpWindow>& TheHelpWindow() {
  static QPointer<HelpWindow> window;
  return window;
}

// A modal dialog blocks every window outside itself, so while one is open the
// help is that dialog's child window. When the dialog closes, the help moves
// under the dialog that is modal then, or back to the application, and stays
// open where it was.
void HangUnderModal(HelpWindow* help, const QWidget* leaving = nullptr) {
  QWidget* modal = QApplication::activeModalWidget();
  if (modal == help || modal == leaving) modal = nullptr;
  if (help->parentWidget() == modal) return;
  const QRect frame = help->geometry();
  const bool shown = help->isVisible();
  help->setParent(modal, Qt::Window);
  help->setGeometry(frame);
  if (shown) help->show();
  if (auto* dialog = qobject_cast<QDialog*>(modal)) {
    QObject::connect(
        dialog, &QDialog::finished, help, [help, dialog] { HangUnderModal(help, dialog); },
        Qt::SingleShotConnection);
  }
}

}  // namespace

QString HelpFilePath() {
  QStringList folders;
  const QString fromEnv = qEnvironmentVariable("FERROX_HELP_DIR");
  if (!fromEnv.isEmpty()) folders << fromEnv;
  folders << QCoreApplication::applicationDirPath() + QStringLiteral("/../share/ferrox/help");
#ifdef FERROX_DATA_DIR
  folders << QStringLiteral(FERROX_DATA_DIR "/help");
#endif
#ifdef FERROX_SOURCE_HELP_DIR
  folders << QStringLiteral(FERROX_SOURCE_HELP_DIR);
#endif
  for (const QString& folder : folders) {
    const QFileInfo file(QDir(folder), kHelpFileName);
    if (file.isFile()) return file.absoluteFilePath();
  }
  return {};
}

void ShowHelp(QWidget* owner, const QString& topic) {
  const QString file = HelpFilePath();
  if (file.isEmpty()) {
    ShowMessage({owner, MsgKind::Information, {},
                 QStringLiteral("ﾍﾙﾌﾟを表示できません。 このﾌﾟﾛｸﾞﾗﾑに関連付けられたﾍﾙﾌﾟが存在しません。"),
                 QMessageBox::Ok, QMessageBox::Ok});
    return;
  }
  QPointer<HelpWindow>& window = TheHelpWindow();
  const bool fresh = !window;
  if (fresh) {
    window = new HelpWindow();
    window->setAttribute(Qt::WA_DeleteOnClose);
  }
  HangUnderModal(window);
  if (fresh) {
    // Beside the window that asked, not in a corner of the screen.
    const QWidget* anchor = owner != nullptr ? owner->window() : nullptr;
    if (anchor != nullptr && anchor->isVisible()) {
      QRect place(QPoint(), window->size());
      place.moveCenter(anchor->frameGeometry().center() + QPoint(40, 40));
      if (const QScreen* screen = anchor->screen()) {
        const QRect area = screen->availableGeometry();
        place.moveLeft(std::clamp(place.left(), area.left(), std::max(area.left(), area.right() - place.width())));
        place.moveTop(std::clamp(place.top(), area.top(), std::max(area.top(), area.bottom() - place.height())));
      }
      window->move(place.topLeft());
    }
  }
  window->ShowTopic(file, topic);
  window->show();
  window->raise();
  window->activateWindow();
}

HelpWindow::HelpWindow(QWidget* parent) : QWidget(parent, Qt::Window), browser_(new QTextBrowser(this)) {
  setObjectName(QStringLiteral("fomHelp"));
  setWindowTitle(QStringLiteral("Ferrox ﾍﾙﾌﾟ"));
  browser_->setObjectName(QStringLiteral("txtHelp"));
  browser_->setOpenExternalLinks(true);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(browser_);
  resize(560, 480);
}

void HelpWindow::ShowTopic(const QString& file, const QString& topic) {
  QUrl url = QUrl::fromLocalFile(file);
  url.setFragment(topic);
  browser_->setSource(url);
  browser_->scrollToAnchor(topic);
}

QString HelpWindow::CurrentTopic() const { return browser_->source().fragment(); }

}  // namespace ferrox::ui
