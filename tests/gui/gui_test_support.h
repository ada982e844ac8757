#pragma once
// Test doubles for the GUI tests: a message handler that records every box
// and answers from a script, so no modal box ever blocks a test.

#include <deque>

// ferrox
#include "ui/message_box.h"

// Qt
#include <QStringList>

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

  QStringList texts;                                // every box's text, in order
  std::vector<MsgKind> kinds;
  std::deque<QMessageBox::StandardButton> answers;  // next answers; empty = the default button

 private:
  MessageHandler previous_;
};

}  // namespace ferrox::ui::test
