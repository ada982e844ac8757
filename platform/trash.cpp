#include "platform/trash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

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

namespace {

QString InfoPathOf(const QString& inTrash) {
  // The trash keeps files in "files/" and their descriptions in "info/".
  const QFileInfo file(inTrash);
  return file.dir().absolutePath() + QStringLiteral("/../info/") + file.fileName() + QStringLiteral(".trashinfo");
}

}  // namespace

TrashResult TrashDelete(const std::string& path, const std::string& shownPath) {
  TrashResult result = TrashDelete(path);
  if (!result.ok) return result;
  QFile info(InfoPathOf(QString::fromStdString(result.trashPath)));
  if (!info.open(QIODevice::ReadOnly)) return result;
  QList<QByteArray> lines = info.readAll().split('\n');
  info.close();
  const QString shown = QFileInfo(QString::fromStdString(shownPath)).absoluteFilePath();
  for (auto& line : lines) {
    if (line.startsWith("Path=")) line = "Path=" + QUrl::toPercentEncoding(shown, "/");
  }
  if (info.open(QIODevice::WriteOnly | QIODevice::Truncate)) info.write(lines.join('\n'));
  return result;
}

void TrashForget(const TrashResult& trashed) {
  if (!trashed.ok || trashed.trashPath.empty()) return;
  const QString inTrash = QString::fromStdString(trashed.trashPath);
  QFile::remove(InfoPathOf(inTrash));
  QFile::remove(inTrash);
}

bool TrashRestore(const TrashResult& trashed, const std::string& path) {
  if (!trashed.ok || trashed.trashPath.empty()) return false;
  const QString inTrash = QString::fromStdString(trashed.trashPath);
  if (!QFile::rename(inTrash, QString::fromStdString(path))) return false;
  QFile::remove(InfoPathOf(inTrash));
  return true;
}

}  // namespace ferrox
