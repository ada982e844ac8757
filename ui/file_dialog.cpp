// The replaceable file choosers.

#include "ui/file_dialog.h"

// Qt
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QSplitter>
#include <QTreeView>

namespace ferrox::ui {
namespace {

FileDialogHandler& Handler() {
  static FileDialogHandler handler;
  return handler;
}

QStringList RealDialog(const FileDialogRequest& r) {
  QFileDialog dialog(r.owner, r.title, r.initialPath);
  switch (r.mode) {
    case FileDialogMode::Open: dialog.setFileMode(QFileDialog::ExistingFile); break;
    case FileDialogMode::OpenMany: dialog.setFileMode(QFileDialog::ExistingFiles); break;
    case FileDialogMode::Save:
      dialog.setFileMode(QFileDialog::AnyFile);
      dialog.setAcceptMode(QFileDialog::AcceptSave);
      break;
    case FileDialogMode::Folder:
      dialog.setFileMode(QFileDialog::Directory);
      dialog.setOption(QFileDialog::ShowDirsOnly);
      break;
  }
  if (r.mode != FileDialogMode::Folder) dialog.setNameFilter(QtNameFilter(r.filter));
  const QFileInfo initial(r.initialPath);
  if (!r.initialPath.isEmpty() && !initial.isDir()) dialog.selectFile(initial.fileName());
  FitFileDialog(dialog);
  if (dialog.exec() != QDialog::Accepted) return {};
  return dialog.selectedFiles();
}

}  // namespace

void FitFileDialog(QFileDialog& dialog) {
  // Qt's own dialog (no desktop dialog on offer): room for the name, size,
  // type and date columns of Japanese labels.
  dialog.setViewMode(QFileDialog::Detail);
  dialog.resize(860, 520);
  if (auto* view = dialog.findChild<QTreeView*>(QStringLiteral("treeView"))) {
    const int widths[] = {270, 110, 180, 140};  // name, size, type, date
    for (int column = 0; column < 4; ++column) view->header()->resizeSection(column, widths[column]);
  }
  if (auto* panes = dialog.findChild<QSplitter*>(QStringLiteral("splitter"))) panes->setSizes({160, 700});
}

FileDialogHandler SetFileDialogHandler(FileDialogHandler handler) {
  FileDialogHandler old = std::move(Handler());
  Handler() = std::move(handler);
  return old;
}

QStringList ShowFileDialog(const FileDialogRequest& request) {
  if (Handler()) return Handler()(request);
  return RealDialog(request);
}

QString QtNameFilter(const QString& pairs) {
  const QStringList parts = pairs.split(QLatin1Char('|'));
  QStringList filters;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    QString pattern = parts[i + 1];
    // On Linux "*.*" would hide files without a dot.
    if (pattern == QLatin1String("*.*")) pattern = QStringLiteral("*");
    filters << parts[i] + QStringLiteral(" (") + pattern + QLatin1Char(')');
  }
  return filters.join(QStringLiteral(";;"));
}

}  // namespace ferrox::ui
