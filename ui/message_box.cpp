// The replaceable message box.

#include "ui/message_box.h"

// Qt
#include <QApplication>

namespace ferrox::ui {
namespace {

MessageHandler& Handler() {
  static MessageHandler handler;
  return handler;
}

QMessageBox::Icon IconOf(MsgKind kind) {
  switch (kind) {
    case MsgKind::Information: return QMessageBox::Information;
    case MsgKind::Exclamation: return QMessageBox::Warning;
    case MsgKind::Critical: return QMessageBox::Critical;
    case MsgKind::Question: return QMessageBox::Question;
  }
  return QMessageBox::NoIcon;
}

QMessageBox::StandardButton RealBox(const MessageRequest& r) {
  const QString title = r.title.isEmpty() ? QApplication::applicationDisplayName() : r.title;
  QMessageBox box(IconOf(r.kind), title, r.text, r.buttons, r.owner);
  if (r.defaultButton != QMessageBox::NoButton) box.setDefaultButton(r.defaultButton);
  return static_cast<QMessageBox::StandardButton>(box.exec());
}

}  // namespace

MessageHandler SetMessageHandler(MessageHandler handler) {
  MessageHandler old = std::move(Handler());
  Handler() = std::move(handler);
  return old;
}

QMessageBox::StandardButton ShowMessage(const MessageRequest& request) {
  if (Handler()) return Handler()(request);
  return RealBox(request);
}

void Exclaim(QWidget* owner, const QString& text) {
  ShowMessage({owner, MsgKind::Exclamation, {}, text, QMessageBox::Ok, QMessageBox::Ok});
}

bool AskYesNo(QWidget* owner, const QString& text) {
  return ShowMessage({owner, MsgKind::Question, {}, text, QMessageBox::Yes | QMessageBox::No,
                      QMessageBox::No}) == QMessageBox::Yes;
}

bool AskOkCancel(QWidget* owner, const QString& text) {
  return ShowMessage({owner, MsgKind::Question, {}, text, QMessageBox::Ok | QMessageBox::Cancel,
                      QMessageBox::Ok}) == QMessageBox::Ok;
}

}  // namespace ferrox::ui
