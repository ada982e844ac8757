#pragma once
// Every message box of the desktop program goes through one replaceable
// function, so tests can answer questions without a modal box blocking them.

#include <functional>

// Qt
#include <QMessageBox>
#include <QString>

class QWidget;

namespace ferrox::ui {

enum class MsgKind { Information, Exclamation, Critical, Question };

struct MessageRequest {
  QWidget* owner = nullptr;
  MsgKind kind = MsgKind::Exclamation;
  QString title;  // empty = the application's title
  QString text;
  QMessageBox::StandardButtons buttons = QMessageBox::Ok;
  QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
};

// Shows one box and returns the button pressed.
using MessageHandler = std::function<QMessageBox::StandardButton(const MessageRequest&)>;

// Replaces the handler (an empty function restores the real message box) and
// returns the one it replaced.
MessageHandler SetMessageHandler(MessageHandler handler);

QMessageBox::StandardButton ShowMessage(const MessageRequest& request);

// Exclamation icon, OK only: the box of every failure.
void Exclaim(QWidget* owner, const QString& text);
// Yes/No question, No being the default. True on Yes.
[[nodiscard]] bool AskYesNo(QWidget* owner, const QString& text);
// OK/Cancel question (the suffix editor's confirmations). True on OK.
[[nodiscard]] bool AskOkCancel(QWidget* owner, const QString& text);

}  // namespace ferrox::ui
