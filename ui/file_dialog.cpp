// The replaceable file choosers.

#include "ui/file_dialog.h"

// Qt
#include <QFileDialog>
#include <QFileInfo>

namespace ferrox::ui {
namespace {

FileDialogHandler& Handler() {
  static FileDialogHandler handler;
  return handler;
}

QStringList RealDialog(const FileDialogRequest& r) {
  const QString filter = QtNameFilter(r.filter);
  switch (r.mode) {
    case FileDialogMode::Open: {
      const QString path = QFileDialog::getOpenFileName(r.owner, r.title, r.initialPath, filter);
      return path.isEmpty() ? QStringList{} : QStringList{path};
    }
    case FileDialogMode::OpenMany:
      return QFileDialog::getOpenFileNames(r.owner, r.title, r.initialPath, filter);
    case FileDialogMode::Save: {
      const QString path = QFileDialog::getSaveFileName(r.owner, r.title, r.initialPath, filter);
      return path.isEmpty() ? QStringList{} : QStringList{path};
    }
    case FileDialogMode::Folder: {
      const QString path = QFileDialog::getExistingDirectory(r.owner, r.title, r.initialPath);
      return path.isEmpty() ? QStringList{} : QStringList{path};
    }
  }
  return {};
}

}  // namespace

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
