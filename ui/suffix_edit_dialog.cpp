// fomSfxEdit: one suffix row.

#include "ui/suffix_edit_dialog.h"

// ferrox
#include "suffix/suffix_edit_rules.h"
#include "ui/dialog_buttons.h"
#include "ui/help_window.h"
#include "ui/message_box.h"

// Qt
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace ferrox::ui {
namespace {

QLineEdit* MakeBox(QWidget* parent, const char* name, const std::string& text, int maxLength) {
  auto* box = new QLineEdit(QString::fromStdString(text), parent);
  box->setObjectName(QLatin1String(name));
  if (maxLength > 0) box->setMaxLength(maxLength);
  return box;
}

}  // namespace

SuffixEditDialog::SuffixEditDialog(Mode mode, const SuffixEntry& row, QWidget* parent)
    : QDialog(parent) {
  setObjectName(QStringLiteral("fomSfxEdit"));
  setWindowTitle(QStringLiteral("拡張子の設定 - ") +
                 (mode == Mode::Append ? QStringLiteral("追加") : QStringLiteral("変更")));

  txtSuffix_ = MakeBox(this, "txtSuffix", row.Extension, 32);
  txtType_ = MakeBox(this, "txtType", row.FileType, 16);
  txtCreater_ = MakeBox(this, "txtCreater", row.Creator, 16);
  txtDescription_ = MakeBox(this, "txtDescription", row.Description, 0);
  txtDescription_->setMinimumWidth(280);

  const DialogButtons buttons = MakeDialogButtons(this, help_topic::kSuffixEdit);
  connect(buttons.ok, &QPushButton::clicked, this, &SuffixEditDialog::cmdExit_Click);

  auto* form = new QFormLayout;
  form->addRow(QStringLiteral("拡張子(&E)："), txtSuffix_);
  form->addRow(QStringLiteral("タイプ(&T)："), txtType_);
  form->addRow(QStringLiteral("クリエーター(&R)："), txtCreater_);
  form->addRow(QStringLiteral("説明(&D)："), txtDescription_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addLayout(ButtonRow(buttons));
  layout->setSizeConstraint(QLayout::SetFixedSize);
}

void SuffixEditDialog::cmdExit_Click() {
  const SuffixEditResult check =
      ValidateSuffixEdit(txtSuffix_->text().toStdString(), txtType_->text().toStdString(),
                         txtCreater_->text().toStdString(), txtDescription_->text().toStdString());
  switch (check.kind) {
    case SuffixEditResult::Kind::kRefused:
      Exclaim(this, QString::fromStdString(check.message));
      return;
    case SuffixEditResult::Kind::kNothing:
      result_.reset();
      reject();
      return;
    case SuffixEditResult::Kind::kAccepted:
      result_ = check.row;
      accept();
      return;
  }
}

std::optional<SuffixEntry> EditSfx(QWidget* parent, SuffixEditDialog::Mode mode, const SuffixEntry& row) {
  SuffixEditDialog dialog(mode, row, parent);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return dialog.Result();
}

}  // namespace ferrox::ui
