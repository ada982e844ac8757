#pragma once
// A path text box that takes files and folders dropped from a file manager.

// Qt
#include <QLineEdit>
#include <QStringList>

class QStringListModel;

namespace ferrox::ui {

// One name as it is; several as a quoted list "a","b" the way the batch
// driver splits it again.
[[nodiscard]] QString JoinEntry(const QStringList& paths);

class PathBox : public QLineEdit {
  Q_OBJECT
 public:
  enum class DropMode { List, FirstOnly };

  explicit PathBox(DropMode mode = DropMode::List, QWidget* parent = nullptr);

  // Puts text in the box with the caret at its end and nothing selected.
  void SetTextAtEnd(const QString& text);

  // Earlier entries, newest first: offered while typing, and all of them
  // with the Down key.
  void SetHistory(const QStringList& entries);
  [[nodiscard]] QStringList History() const;

 signals:
  // A drop replaced the text (textEdited is not sent for it).
  void dropped();
  // An entry of the history replaced the text.
  void historyPicked();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  DropMode mode_;
  QStringListModel* history_;
};

}  // namespace ferrox::ui
