#pragma once
// Records every message box of a GUI test and answers it from a script, so
// no modal box ever blocks a test.

#include <deque>

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QSet>
#include <QStringList>
#include <QTest>

#include "ui/message_box.h"

namespace ferrox::ui::test {

class ScriptedMessages {
 public:
  ScriptedMessages() {
    previous_ = SetMessageHandler([this](const MessageRequest& r) {
      texts << r.text;
      kinds.push_back(r.kind);
      if (answers.empty()) return r.defaultButton == QMessageBox::NoButton ? QMessageBox::Ok : r.defaultButton;
      const QMessageBox::StandardButton answer = answers.front();
      answers.pop_front();
      return answer;
    });
  }
  ~ScriptedMessages() { SetMessageHandler(std::move(previous_)); }
  ScriptedMessages(const ScriptedMessages&) = delete;
  ScriptedMessages& operator=(const ScriptedMessages&) = delete;

  QStringList texts;  // every box's text, in order
  std::vector<MsgKind> kinds;
  std::deque<QMessageBox::StandardButton> answers;  // the next answers; none left = the default button

 private:
  MessageHandler previous_;
};

// Every button, check and radio button has its own Alt letter, every text box
// a label whose letter takes the focus there, and all are on the Tab chain.
// OK, Cancel and Close answer Enter and Esc instead.
inline void CheckKeyboardReach(QWidget& window) {
  const QStringList keyless = {QStringLiteral("OK"), QStringLiteral("キャンセル"), QStringLiteral("閉じる")};
  QSet<QChar> letters;
  const auto take = [&](const QString& text) {
    const qsizetype amp = text.indexOf(QLatin1Char('&'));
    QVERIFY2(amp >= 0 && amp + 1 < text.size(), qPrintable(window.objectName() + ": no Alt letter on " + text));
    const QChar letter = text.at(amp + 1).toUpper();
    QVERIFY2(!letters.contains(letter), qPrintable(window.objectName() + ": Alt letter used twice: " + text));
    letters.insert(letter);
  };
  for (QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
    if (keyless.contains(button->text())) continue;
    take(button->text());
    QVERIFY2(button->focusPolicy() & Qt::TabFocus, qPrintable(button->text()));
  }
  QSet<QWidget*> buddies;
  for (QLabel* label : window.findChildren<QLabel*>()) {
    if (label->buddy() == nullptr) continue;
    take(label->text());
    buddies.insert(label->buddy());
  }
  for (QWidget* field : window.findChildren<QWidget*>()) {
    const bool spinPart = qobject_cast<QAbstractSpinBox*>(field->parent()) != nullptr;
    if (!(qobject_cast<QLineEdit*>(field) && !spinPart) && !qobject_cast<QAbstractSpinBox*>(field)) continue;
    QVERIFY2(buddies.contains(field), qPrintable(window.objectName() + ": no label letter for " + field->objectName()));
    QVERIFY(field->focusPolicy() & Qt::TabFocus);
  }
}

}  // namespace ferrox::ui::test
