#include "platform/trash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace ferrox {

TrashResult TrashDelete(const std::string& path) {
  TrashResult result;
  if (path.empty()) return result;
  QString source = QString::fromStdString(path);
  while (source.size() > 1 && source.endsWith(u'/')) source.chop(1);
  const QString absolute = QFileInfo(source).absoluteFilePath();

  // Qt 6.4 reports success and moves the file into the current folder when
  // the data folder that holds the home trash does not exist yet.
  const QString dataHome = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
  if (dataHome.isEmpty() || !QDir().mkpath(dataHome)) return result;

  QString inTrash;
  if (!QFile::moveToTrash(absolute, &inTrash)) return result;

  if (inTrash.isEmpty() || QDir::isRelativePath(inTrash) || !QFileInfo::exists(inTrash)) {
    // Not in a trash: put it back where it was, if it was moved at all.
    if (!inTrash.isEmpty() && QFileInfo::exists(inTrash) && !QFileInfo::exists(absolute)) {
      QFile::rename(inTrash, absolute);
    }
    return result;
  }
  result.ok = true;
  result.trashPath = inTrash.toStdString();
  return result;
}

bool TrashRestore(const TrashResult& trashed, const std::string& path) {
  if (!trashed.ok || trashed.trashPath.empty()) return false;
  const QString inTrash = QString::fromStdString(trashed.trashPath);
  if (!QFile::rename(inTrash, QString::fromStdString(path))) return false;
  // The trash keeps files in "files/" and their descriptions in "info/".
  const QFileInfo file(inTrash);
  QFile::remove(file.dir().absolutePath() + QStringLiteral("/../info/") + file.fileName() +
                QStringLiteral(".trashinfo"));
  return true;
}

}  // namespace ferrox
