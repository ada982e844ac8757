#pragma once
// fomSfxSet: the suffix table editor. It works on its own copy of the table;
// only OK copies the copy back.

#include <functional>
#include <optional>

// ferrox
#include "app/conversion_settings.h"
#include "suffix/suffix_table.h"
#include "ui/suffix_edit_dialog.h"

// Qt
#include <QDialog>

class QLabel;
class QListWidget;
class QVBoxLayout;
class QPushButton;
class QRadioButton;

namespace ferrox::ui {

class SuffixSetDialog : public QDialog {
  Q_OBJECT
 public:
  // OK stores FileMode bit 64 in `settings`, copies the rows into `table` and
  // sets `changed`. The window size is kept in SfxSetWidth/SfxSetHeight.
  SuffixSetDialog(ConversionSettings& settings, SuffixTable& table, bool& changed,
                  QWidget* parent = nullptr);

  // How one row is edited; tests replace it so no modal dialog opens.
  std::function<std::optional<SuffixEntry>(QWidget*, SuffixEditDialog::Mode, const SuffixEntry&)> editRow =
      EditSfx;

  [[nodiscard]] const SuffixTable& Copy() const { return copy_; }

  void cmdAppend_Click();
  void cmdUpdate_Click();
  void cmdDelete_Click();
  void cmdUp_Click();
  void cmdDown_Click();
  void cmdSort_Click();
  void cmdInit_Click();
  void cmdExit_Click();

 protected:
  void done(int result) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QVBoxLayout* MakeListSide();
  QVBoxLayout* MakeButtonColumn();
  void SuffixListSet(int selected);
  void SuffixListRefresh(int row);
  void ButtonSet();
  [[nodiscard]] int Selected() const;
  void Swap(int row, int other);

  ConversionSettings& settings_;
  SuffixTable& table_;
  bool& changed_;
  SuffixTable copy_;
  QListWidget* lstSuffix_;
  QLabel* lblNum_;
  QPushButton* cmdUpdate_;
  QPushButton* cmdDelete_;
  QPushButton* cmdUp_;
  QPushButton* cmdDown_;
  QRadioButton* optPlainName_;
  QRadioButton* optAutoSfx_;
};

}  // namespace ferrox::ui
