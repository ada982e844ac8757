#pragma once
// fomSfxEdit: edits one row of the suffix table and checks it on OK.

#include <optional>

// ferrox
#include "suffix/suffix_entry.h"

// Qt
#include <QDialog>

class QLineEdit;

namespace ferrox::ui {

class SuffixEditDialog : public QDialog {
  Q_OBJECT
 public:
  enum class Mode { Append, Change };

  SuffixEditDialog(Mode mode, const SuffixEntry& row, QWidget* parent = nullptr);

  // OK: checks the boxes; a refusal shows its message and keeps the dialog open.
  void cmdExit_Click();

  // The accepted row, or nothing (cancelled, or all four boxes empty).
  [[nodiscard]] const std::optional<SuffixEntry>& Result() const { return result_; }

 private:
  QLineEdit* txtSuffix_;
  QLineEdit* txtType_;
  QLineEdit* txtCreater_;
  QLineEdit* txtDescription_;
  std::optional<SuffixEntry> result_;
};

// Shows the dialog for a row; the accepted row, or nothing.
[[nodiscard]] std::optional<SuffixEntry> EditSfx(QWidget* parent, SuffixEditDialog::Mode mode,
                                                 const SuffixEntry& row);

}  // namespace ferrox::ui
