#pragma once
// fomSetup2: the survey (ChkSize, BinRate), the file-name substitute
// (ConvMode bit 2, FNCChar) and automatic mode (ExecMode).

// ferrox
#include "app/conversion_settings.h"

// Qt
#include <QDialog>

class QCheckBox;
class QLineEdit;
class QSpinBox;

namespace ferrox::ui {

class Setup2Dialog : public QDialog {
  Q_OBJECT
 public:
  // Edits `settings` in place on OK only.
  Setup2Dialog(ConversionSettings& settings, QWidget* parent = nullptr);

  // Checks and stores the fields; false (after a message) keeps it open.
  bool cmdExit_Click();

 private:
  ConversionSettings& settings_;
  QSpinBox* txtChkSize_;
  QSpinBox* txtBinRate_;
  QCheckBox* chkFncChar_;
  QLineEdit* txtFNCChar_;
  QCheckBox* chkAuto_;
  QCheckBox* chkAutoEnd_;
};

}  // namespace ferrox::ui
