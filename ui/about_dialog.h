#pragma once
// fomVersion: the about box.

// Qt
#include <QDialog>

namespace ferrox::ui {

class AboutDialog : public QDialog {
  Q_OBJECT
 public:
  explicit AboutDialog(QWidget* parent = nullptr);
};

}  // namespace ferrox::ui
