#pragma once
// Records every message box of a GUI test and answers it from a script, so
// no modal box ever blocks a test.

#include <deque>

#include <QStringList>

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

}  // namespace ferrox::ui::test
