// fomGaiSet: the gaiji settings dialog.

#include "ui/gaiji_dialog.h"

// ferrox
#include "app/path_helpers.h"
#include "convert/gaiji_table.h"
#include "ui/dialog_buttons.h"
#include "ui/file_dialog.h"
#include "ui/help_window.h"
#include "ui/message_box.h"
#include "ui/path_box.h"

// Qt
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace ferrox::ui {

GaijiDialog::GaijiDialog(ConversionSettings& settings, GaijiTable& table, QWidget* parent)
    : QDialog(parent), settings_(settings), table_(table) {
  setObjectName(QStringLiteral("fomGaiSet"));
  setWindowTitle(QStringLiteral("外字の変換設定"));

  chkGaijiConv_ = new QCheckBox(QStringLiteral("変換定義ファイルの設定を元に変換する(&E)"), this);
  chkGaijiConv_->setObjectName(QStringLiteral("chkGaijiConv"));
  auto* label = new QLabel(QStringLiteral("変換定義ファイル(&F)："), this);
  txtGaijiTable_ = new PathBox(PathBox::DropMode::FirstOnly, this);
  txtGaijiTable_->setObjectName(QStringLiteral("txtGaijiTable"));
  txtGaijiTable_->setMinimumWidth(360);
  label->setBuddy(txtGaijiTable_);
  cmdGaijiTable_ = new QPushButton(QStringLiteral("参照(&B)..."), this);
  cmdGaijiTable_->setObjectName(QStringLiteral("cmdGaijiTable"));
  cmdGaijiTable_->setAutoDefault(false);

  const DialogButtons buttons = MakeDialogButtons(this, help_topic::kGaiji);

  connect(chkGaijiConv_, &QCheckBox::toggled, this, &GaijiDialog::chkGaijiConv_Click);
  connect(cmdGaijiTable_, &QPushButton::clicked, this, &GaijiDialog::cmdGaijiTable_Click);
  connect(buttons.ok, &QPushButton::clicked, this, [this] {
    if (cmdExit_Click()) accept();
  });

  auto* pathRow = new QHBoxLayout;
  pathRow->addWidget(txtGaijiTable_, 1);
  pathRow->addWidget(cmdGaijiTable_);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(chkGaijiConv_);
  layout->addWidget(label);
  layout->addLayout(pathRow);
  layout->addSpacing(8);
  layout->addLayout(ButtonRow(buttons));

  // Form_Load: the check box first, so that its handler sets the enabled state.
  chkGaijiConv_->setChecked((settings.ConvMode & conv_mode::kGaijiTable) != 0);
  chkGaijiConv_Click();
  txtGaijiTable_->SetTextAtEnd(QString::fromStdString(settings.GaijiTable));
}

void GaijiDialog::chkGaijiConv_Click() {
  const bool on = chkGaijiConv_->isChecked();
  txtGaijiTable_->setEnabled(on);
  cmdGaijiTable_->setEnabled(on);
}

void GaijiDialog::cmdGaijiTable_Click() {
  // A quoted path opens without its quotes.
  QString initial = txtGaijiTable_->text();
  if (initial.startsWith(QLatin1Char('"'))) {
    const qsizetype close = initial.indexOf(QLatin1Char('"'), 1);
    initial = close < 0 ? initial.mid(1) : initial.mid(1, close - 1);
  }
  const QStringList chosen = ShowFileDialog(
      {this, FileDialogMode::Open, QStringLiteral("定義ﾌｧｲﾙの選択"), kFilterTables, initial});
  if (chosen.isEmpty() || chosen.first().isEmpty()) return;
  txtGaijiTable_->SetTextAtEnd(chosen.first());
}

bool GaijiDialog::cmdExit_Click() {
  // A table that is not there would turn every gaiji into the geta mark
  // without a word; the path is refused while replacement is on.
  const std::string path = txtGaijiTable_->text().toStdString();
  if (chkGaijiConv_->isChecked() && !IsFile(path)) {
    Exclaim(this, QStringLiteral("変換定義ﾌｧｲﾙ [") + txtGaijiTable_->text() + QStringLiteral("] が見つかりません"));
    txtGaijiTable_->setFocus();
    txtGaijiTable_->selectAll();
    return false;
  }
  std::uint16_t mode = settings_.ConvMode & static_cast<std::uint16_t>(~conv_mode::kGaijiTable);
  if (chkGaijiConv_->isChecked()) mode |= conv_mode::kGaijiTable;
  settings_.ConvMode = mode;
  settings_.GaijiTable = path;
  table_.LoadGaijiTable(settings_.GaijiTable);
  return true;
}

}  // namespace ferrox::ui
