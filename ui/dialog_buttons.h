#pragma once
// The OK, キャンセル and ﾍﾙﾌﾟ buttons that close the program's dialogs.

// Qt
#include <QString>

class QDialog;
class QHBoxLayout;
class QPushButton;

namespace ferrox::ui {

struct DialogButtons {
  QPushButton* ok;      // "cmdExit", the default button; its click is the dialog's to connect
  QPushButton* cancel;  // "cmdCancel", rejects the dialog
  QPushButton* help;    // "cmdHelp", opens the help at the dialog's topic
};

[[nodiscard]] DialogButtons MakeDialogButtons(QDialog* dialog, const QString& helpTopic);

// A row of `buttons` pushed to the right; the caller may insert widgets before them.
[[nodiscard]] QHBoxLayout* ButtonRow(const DialogButtons& buttons);

}  // namespace ferrox::ui
