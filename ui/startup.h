#pragma once
// The desktop program from start to end: the CP932 check, the settings and
// tables, the main window with the command line, and the event loop.

// Qt
#include <QStringList>

class QWidget;

namespace ferrox::ui {

// False (after the start-up error box) when `available` is false, that is when
// iconv cannot convert CP932: the program cannot read or write any of its
// text files then.
[[nodiscard]] bool CheckJapaneseRuntime(QWidget* owner, bool available);

// Before the QApplication exists: on a desktop session, file dialogs go
// through the XDG desktop portal when Qt's portal theme is installed and the
// user has not chosen a platform theme.
void PreferPortalFileDialogs();

// Qt's own texts (Yes/No, OK/Cancel, the file dialog's labels) in Japanese,
// as the rest of the program; false when Qt's translations are not installed.
bool LoadQtJapanese();

// Runs the program on an existing QApplication; returns the exit code.
[[nodiscard]] int RunFerroxGui(const QStringList& arguments);

}  // namespace ferrox::ui
