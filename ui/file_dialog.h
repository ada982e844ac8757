#pragma once
// The program's Open and Save choosers, replaceable like the message boxes so
// that tests never wait on a modal dialog.

#include <functional>

// Qt
#include <QString>
#include <QStringList>

class QFileDialog;
class QWidget;

namespace ferrox::ui {

inline const QString kFilterAll = QStringLiteral("全てのﾌｧｲﾙ(*.*)|*.*");
inline const QString kFilterTables = QStringLiteral("ﾃｷｽﾄﾌｧｲﾙ(*.txt)|*.txt|全てのﾌｧｲﾙ(*.*)|*.*");

enum class FileDialogMode { Open, OpenMany, Save, Folder };

struct FileDialogRequest {
  QWidget* owner = nullptr;
  FileDialogMode mode = FileDialogMode::Open;
  QString title;
  QString filter;       // "caption|pattern|caption|pattern" pairs
  QString initialPath;  // a file or folder; its folder is where the dialog opens
};

// Returns the chosen paths; empty when the user cancelled.
using FileDialogHandler = std::function<QStringList(const FileDialogRequest&)>;

FileDialogHandler SetFileDialogHandler(FileDialogHandler handler);

[[nodiscard]] QStringList ShowFileDialog(const FileDialogRequest& request);

// Sizes Qt's own file dialog so that its columns show.
void FitFileDialog(QFileDialog& dialog);

// "a|*.txt|b|*.*" as a Qt name filter: "a (*.txt);;b (*)".
[[nodiscard]] QString QtNameFilter(const QString& pairs);

}  // namespace ferrox::ui
