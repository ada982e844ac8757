// Drag and drop of local files onto a path box.

#include "ui/path_box.h"

// Qt
#include <QAbstractItemView>
#include <QCompleter>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QStringListModel>
#include <QUrl>

namespace ferrox::ui {
namespace {

QStringList LocalPaths(const QMimeData* data) {
  QStringList paths;
  if (data == nullptr || !data->hasUrls()) return paths;
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) paths << url.toLocalFile();
  }
  return paths;
}

}  // namespace

QString JoinEntry(const QStringList& paths) {
  if (paths.size() == 1) return paths.first();
  QStringList quoted;
  for (const QString& path : paths) quoted << QLatin1Char('"') + path + QLatin1Char('"');
  return quoted.join(QLatin1Char(','));
}

PathBox::PathBox(DropMode mode, QWidget* parent)
    : QLineEdit(parent), mode_(mode), history_(new QStringListModel(this)) {
  setAcceptDrops(true);
  auto* completer = new QCompleter(history_, this);
  completer->setCaseSensitivity(Qt::CaseSensitive);  // Linux names differ by case
  completer->setCompletionMode(QCompleter::PopupCompletion);
  setCompleter(completer);
  connect(completer, qOverload<const QString&>(&QCompleter::activated), this, [this](const QString& entry) {
    SetTextAtEnd(entry);
    emit historyPicked();
  });
}

void PathBox::SetHistory(const QStringList& entries) { history_->setStringList(entries); }

QStringList PathBox::History() const { return history_->stringList(); }

void PathBox::keyPressEvent(QKeyEvent* event) {
  // Enter while the history list is open picks the entry and does not
  // convert: left unaccepted, the key goes back to the list, which takes it.
  const bool listShown = completer() != nullptr && completer()->popup()->isVisible();
  if (listShown && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
    event->ignore();
    return;
  }
  QCompleter* list = completer();
  const bool down = event->key() == Qt::Key_Down && (event->modifiers() & ~Qt::KeypadModifier) == 0;
  if (down && list != nullptr && history_->rowCount() > 0 && !list->popup()->isVisible()) {
    list->setCompletionPrefix(QString());
    list->complete();
    return;
  }
  QLineEdit::keyPressEvent(event);
}

void PathBox::SetTextAtEnd(const QString& text) {
  setText(text);
  deselect();
  setCursorPosition(static_cast<int>(text.size()));
}

void PathBox::dragEnterEvent(QDragEnterEvent* event) {
  if (!LocalPaths(event->mimeData()).isEmpty()) {
    event->acceptProposedAction();
    return;
  }
  QLineEdit::dragEnterEvent(event);
}

void PathBox::dragMoveEvent(QDragMoveEvent* event) {
  if (!LocalPaths(event->mimeData()).isEmpty()) {
    event->acceptProposedAction();
    return;
  }
  QLineEdit::dragMoveEvent(event);
}

void PathBox::dropEvent(QDropEvent* event) {
  QStringList paths = LocalPaths(event->mimeData());
  if (paths.isEmpty()) {
    QLineEdit::dropEvent(event);
    return;
  }
  if (mode_ == DropMode::FirstOnly) paths = QStringList{paths.first()};
  SetTextAtEnd(JoinEntry(paths));
  event->acceptProposedAction();
  emit dropped();
}

}  // namespace ferrox::ui
