// fomSfxSet: list, add, change, delete, move, sort and reset suffix rows.

#include "ui/suffix_set_dialog.h"

#include <utility>

// ferrox
#include "suffix/suffix_edit_rules.h"
#include "suffix/suffix_pattern.h"
#include "ui/fixed_font.h"
#include "ui/help_window.h"
#include "ui/message_box.h"
#include "ui/option_widgets.h"

// Qt
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace ferrox::ui {

SuffixSetDialog::SuffixSetDialog(ConversionSettings& settings, SuffixTable& table, bool& changed,
                                 QWidget* parent)
    : QDialog(parent), settings_(settings), table_(table), changed_(changed), copy_(table) {
  setObjectName(QStringLiteral("fomSfxSet"));
  setWindowTitle(QStringLiteral("拡張子の設定"));
  setSizeGripEnabled(true);

  QVBoxLayout* listSide = MakeListSide();
  QVBoxLayout* side = MakeButtonColumn();
  auto* layout = new QHBoxLayout(this);
  layout->addLayout(listSide, 1);
  layout->addLayout(side);

  setMinimumSize(480, 320);
  resize(settings.SfxSetWidth > 0 ? settings.SfxSetWidth : 640,
         settings.SfxSetHeight > 0 ? settings.SfxSetHeight : 440);
  SuffixListSet(copy_.Empty() ? -1 : 0);
}

// The list with its heading and count, and the rule for unknown types.
QVBoxLayout* SuffixSetDialog::MakeListSide() {
  auto* header = new QLabel(QStringLiteral(" 拡張子   タイプ   ｸﾘｴｰﾀ    説明"), this);
  header->setFont(JapaneseFixedFont());
  header->setContentsMargins(4, 0, 0, 0);  // the list's frame and item margin
  lblNum_ = new QLabel(this);
  lblNum_->setObjectName(QStringLiteral("lblNum"));
  lstSuffix_ = new QListWidget(this);
  lstSuffix_->setObjectName(QStringLiteral("lstSuffix"));
  lstSuffix_->setFont(JapaneseFixedFont());
  lstSuffix_->setUniformItemSizes(true);
  lstSuffix_->installEventFilter(this);

  auto* unknown = new QGroupBox(QStringLiteral("タイプが登録されていないファイル"), this);
  optPlainName_ = new QRadioButton(QStringLiteral("名前をそのまま使う(&P)"), unknown);
  optPlainName_->setObjectName(QStringLiteral("optAutoSfx0"));
  optAutoSfx_ = new QRadioButton(QStringLiteral("名前(クリエータ).タイプ にする(&T)"), unknown);
  optAutoSfx_->setObjectName(QStringLiteral("optAutoSfx1"));
  const bool autoSfx = (settings_.FileMode & file_mode::kUnknownName) != 0;
  optAutoSfx_->setChecked(autoSfx);
  optPlainName_->setChecked(!autoSfx);
  auto* unknownLayout = new QHBoxLayout(unknown);
  unknownLayout->addWidget(optPlainName_);
  unknownLayout->addWidget(optAutoSfx_);
  unknownLayout->addStretch(1);

  connect(lstSuffix_, &QListWidget::currentRowChanged, this, &SuffixSetDialog::ButtonSet);
  connect(lstSuffix_, &QListWidget::itemDoubleClicked, this, &SuffixSetDialog::cmdUpdate_Click);

  auto* top = new QHBoxLayout;
  top->addWidget(header, 1);
  top->addWidget(lblNum_);
  auto* listSide = new QVBoxLayout;
  listSide->addLayout(top);
  listSide->addWidget(lstSuffix_, 1);
  listSide->addWidget(unknown);
  return listSide;
}

QVBoxLayout* SuffixSetDialog::MakeButtonColumn() {
  auto* append = MakeButton(this, "cmdAppend", QStringLiteral("追加(&A)..."));
  cmdUpdate_ = MakeButton(this, "cmdUpdate", QStringLiteral("変更(&C)..."));
  cmdDelete_ = MakeButton(this, "cmdDelete", QStringLiteral("削除(&D)"));
  cmdUp_ = MakeButton(this, "cmdUp", QStringLiteral("上へ(&U)"));
  cmdDown_ = MakeButton(this, "cmdDown", QStringLiteral("下へ(&N)"));
  auto* sort = MakeButton(this, "cmdSort", QStringLiteral("並べ替え(&S)"));
  auto* init = MakeButton(this, "cmdInit", QStringLiteral("初期化(&I)"));
  auto* ok = new QPushButton(QStringLiteral("OK"), this);
  ok->setObjectName(QStringLiteral("cmdExit"));
  ok->setAutoDefault(false);
  auto* cancel = MakeButton(this, "cmdCancel", QStringLiteral("キャンセル"));
  auto* help = MakeButton(this, "cmdHelp", QStringLiteral("ﾍﾙﾌﾟ(&H)"));

  connect(append, &QPushButton::clicked, this, &SuffixSetDialog::cmdAppend_Click);
  connect(cmdUpdate_, &QPushButton::clicked, this, &SuffixSetDialog::cmdUpdate_Click);
  connect(cmdDelete_, &QPushButton::clicked, this, &SuffixSetDialog::cmdDelete_Click);
  connect(cmdUp_, &QPushButton::clicked, this, &SuffixSetDialog::cmdUp_Click);
  connect(cmdDown_, &QPushButton::clicked, this, &SuffixSetDialog::cmdDown_Click);
  connect(sort, &QPushButton::clicked, this, &SuffixSetDialog::cmdSort_Click);
  connect(init, &QPushButton::clicked, this, &SuffixSetDialog::cmdInit_Click);
  connect(ok, &QPushButton::clicked, this, &SuffixSetDialog::cmdExit_Click);
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  connect(help, &QPushButton::clicked, this, [this] { ShowHelp(this, help_topic::kSuffix); });
  auto* side = new QVBoxLayout;
  for (QPushButton* button : {append, cmdUpdate_, cmdDelete_}) side->addWidget(button);
  side->addSpacing(12);
  side->addWidget(cmdUp_);
  side->addWidget(cmdDown_);
  side->addSpacing(12);
  side->addWidget(sort);
  side->addWidget(init);
  side->addStretch(1);
  side->addWidget(ok);
  side->addWidget(cancel);
  side->addWidget(help);
  return side;
}

int SuffixSetDialog::Selected() const { return lstSuffix_->currentRow(); }

void SuffixSetDialog::SuffixListSet(int selected) {
  lstSuffix_->clear();
  for (const SuffixEntry& row : copy_.Rows()) {
    lstSuffix_->addItem(QString::fromStdString(SuffixListLine(row)));
  }
  if (selected >= 0 && selected < lstSuffix_->count()) lstSuffix_->setCurrentRow(selected);
  ButtonSet();
}

void SuffixSetDialog::SuffixListRefresh(int row) {
  if (QListWidgetItem* item = lstSuffix_->item(row)) {
    item->setText(QString::fromStdString(SuffixListLine(copy_[static_cast<std::size_t>(row)])));
  }
}

void SuffixSetDialog::ButtonSet() {
  const int i = Selected();
  const int n = lstSuffix_->count();
  cmdUp_->setEnabled(i >= 1);
  cmdDown_->setEnabled(i >= 0 && i < n - 1);
  cmdUpdate_->setEnabled(i >= 0);
  cmdDelete_->setEnabled(i >= 0);
  lblNum_->setText(i < 0 ? QStringLiteral("(%1)").arg(n) : QStringLiteral("(%1/%2)").arg(i + 1).arg(n));
}

void SuffixSetDialog::cmdAppend_Click() {
  const std::optional<SuffixEntry> row = editRow(this, SuffixEditDialog::Mode::Append, SuffixEntry{});
  if (!row) return;
  const int at = Selected() + 1;  // after the selected row; at the top when none is
  copy_.Insert(static_cast<std::size_t>(at), *row);
  SuffixListSet(at);
}

void SuffixSetDialog::cmdUpdate_Click() {
  const int i = Selected();
  if (i < 0) return;
  const auto index = static_cast<std::size_t>(i);
  const std::optional<SuffixEntry> row = editRow(this, SuffixEditDialog::Mode::Change, copy_[index]);
  if (!row) return;
  copy_[index] = *row;
  SuffixListRefresh(i);
}

void SuffixSetDialog::cmdDelete_Click() {
  const int i = Selected();
  if (i < 0) return;
  const auto index = static_cast<std::size_t>(i);
  if (!AskOkCancel(this, QString::fromStdString(SuffixDeleteQuestion(copy_[index])))) return;
  copy_.Erase(index);
  SuffixListSet(i < static_cast<int>(copy_.RowCount()) ? i : i - 1);
}

void SuffixSetDialog::Swap(int row, int other) {
  std::swap(copy_[static_cast<std::size_t>(row)], copy_[static_cast<std::size_t>(other)]);
  SuffixListRefresh(row);
  SuffixListRefresh(other);
  lstSuffix_->setCurrentRow(other);
  ButtonSet();
}

void SuffixSetDialog::cmdUp_Click() {
  const int i = Selected();
  if (i >= 1) Swap(i, i - 1);
}

void SuffixSetDialog::cmdDown_Click() {
  const int i = Selected();
  if (i >= 0 && i < lstSuffix_->count() - 1) Swap(i, i + 1);
}

void SuffixSetDialog::cmdSort_Click() {
  if (!AskOkCancel(this, QString::fromUtf8(kSuffixSortQuestion))) return;
  const int selected = SuffixTableSort(copy_, Selected());
  SuffixListSet(selected);
}

void SuffixSetDialog::cmdInit_Click() {
  if (!AskOkCancel(this, QString::fromUtf8(kSuffixResetQuestion))) return;
  SuffixTableDefault(copy_);
  SuffixListSet(copy_.Empty() ? -1 : 0);
}

void SuffixSetDialog::cmdExit_Click() {
  if (optPlainName_->isChecked()) {
    settings_.FileMode = static_cast<std::uint16_t>(settings_.FileMode & ~file_mode::kUnknownName);
  } else {
    settings_.FileMode = static_cast<std::uint16_t>(settings_.FileMode | file_mode::kUnknownName);
  }
  table_ = copy_;
  changed_ = true;
  accept();
}

void SuffixSetDialog::done(int result) {
  // Form_QueryUnload: the size is kept however the window closes.
  settings_.SfxSetWidth = width();
  settings_.SfxSetHeight = height();
  QDialog::done(result);
}

bool SuffixSetDialog::eventFilter(QObject* watched, QEvent* event) {
  // lstSuffix_KeyDown: Delete deletes, Enter changes the selected row.
  if (watched == lstSuffix_ && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Delete) {
      cmdDelete_Click();
      return true;
    }
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
      cmdUpdate_Click();
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

}  // namespace ferrox::ui
