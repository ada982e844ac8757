#pragma once
// fomGaiSet: switches gaiji replacement (ConvMode bit 16) and picks the table file.

// ferrox
#include "app/conversion_settings.h"

// Qt
#include <QDialog>

class QCheckBox;
class QPushButton;

namespace ferrox {
class GaijiTable;
}

namespace ferrox::ui {

class PathBox;

class GaijiDialog : public QDialog {
  Q_OBJECT
 public:
  // OK stores the two fields in `settings` and reloads `table` from the path.
  GaijiDialog(ConversionSettings& settings, GaijiTable& table, QWidget* parent = nullptr);

  // Stores the fields; false (after a message) when replacement is on and the
  // table file is not there.
  [[nodiscard]] bool cmdExit_Click();
  void cmdGaijiTable_Click();

 private:
  void chkGaijiConv_Click();

  ConversionSettings& settings_;
  GaijiTable& table_;
  QCheckBox* chkGaijiConv_;
  PathBox* txtGaijiTable_;
  QPushButton* cmdGaijiTable_;
};

}  // namespace ferrox::ui
