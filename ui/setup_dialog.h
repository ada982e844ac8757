#pragma once
// fomSetup: the options of text conversion (ConvMode bits 1, 4 and 8, line
// folding) and of file handling (FileMode), and the doors to the gaiji
// dialog, the suffix editor, the second options dialog and the about box.

#include <functional>

// ferrox
#include "app/conversion_settings.h"

// Qt
#include <QDialog>

class QCheckBox;
class QGroupBox;
class QRadioButton;
class QSpinBox;

namespace ferrox::ui {

class SetupDialog : public QDialog {
  Q_OBJECT
 public:
  // Edits `settings` on OK only; the windows it opens change the record on
  // their own OK, and this dialog's OK writes only its own bits.
  SetupDialog(ConversionSettings& settings, QWidget* parent = nullptr);

  // How the buttons open the other windows; the main window supplies them.
  std::function<void(QWidget*)> openGaiji;
  std::function<void(QWidget*)> openSuffix;
  std::function<void(QWidget*)> openSetup2;
  std::function<void(QWidget*)> openAbout;

  void cmdExit_Click();

 private:
  QGroupBox* MakeTextGroup();
  QGroupBox* MakeExistingGroup();
  QGroupBox* MakeFilesGroup();

  ConversionSettings& settings_;
  QCheckBox* chkEof_;
  QCheckBox* chkJisEuc_;
  QCheckBox* chkGaijiChar_;
  QSpinBox* txtLineSize_;
  QRadioButton* optBackup_;
  QRadioButton* optTrash_;
  QRadioButton* optDelete_;
  QCheckBox* chkDeleteInput_;
  QCheckBox* chkMacNames_;  // FileMode 512
  QCheckBox* chkMacDates_;
  QCheckBox* chkFolder_;
  QCheckBox* chkUnknownName_;
};

}  // namespace ferrox::ui
