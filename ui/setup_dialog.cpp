// fomSetup: text conversion and file handling options.

#include "ui/setup_dialog.h"

#include <limits>

// ferrox
#include "ui/dialog_buttons.h"
#include "ui/help_window.h"
#include "ui/option_widgets.h"

// Qt
#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace ferrox::ui {

SetupDialog::SetupDialog(ConversionSettings& settings, QWidget* parent)
    : QDialog(parent), settings_(settings) {
  setObjectName(QStringLiteral("fomSetup"));
  setWindowTitle(QStringLiteral("動作設定"));
  QGroupBox* text = MakeTextGroup();
  QGroupBox* existing = MakeExistingGroup();
  QGroupBox* files = MakeFilesGroup();

  auto* setup2 = MakeButton(this, "cmdSetup2", QStringLiteral("詳細設定(&D)..."));
  auto* about = MakeButton(this, "cmdVersion", QStringLiteral("バージョン情報(&V)..."));
  const DialogButtons buttons = MakeDialogButtons(this, help_topic::kSetup);

  connect(setup2, &QPushButton::clicked, this, [this] { if (openSetup2) openSetup2(this); });
  connect(about, &QPushButton::clicked, this, [this] { if (openAbout) openAbout(this); });
  connect(buttons.ok, &QPushButton::clicked, this, [this] {
    cmdExit_Click();
    accept();
  });

  QHBoxLayout* buttonRow = ButtonRow(buttons);
  buttonRow->insertWidget(0, setup2);
  buttonRow->insertWidget(1, about);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(text);
  layout->addWidget(existing);
  layout->addWidget(files);
  layout->addLayout(buttonRow);
  layout->setSizeConstraint(QLayout::SetFixedSize);
}


QGroupBox* SetupDialog::MakeTextGroup() {
  const std::uint16_t cm = settings_.ConvMode;
  auto* text = new QGroupBox(QStringLiteral("テキストの変換"), this);
  chkJisEuc_ = MakeCheck(text, "chkJisEuc", QStringLiteral("JIS/EUCを認識する(シフトJISに変換)(&J)"),
                         cm & conv_mode::kFull);
  chkGaijiChar_ = MakeCheck(text, "chkGaijiChar", QStringLiteral("外字を文字扱いする(&K)"),
                            cm & conv_mode::kGaijiAsChar);
  chkEof_ = MakeCheck(text, "chkEof", QStringLiteral("テキストファイルの場合は終端に EOF を付加する(&E)"),
                      cm & conv_mode::kAppendEof);
  txtLineSize_ = MakeSpin(text, "txtLineSize", 0, std::numeric_limits<std::int16_t>::max(),
                          std::max<int>(0, settings_.LineSize), QStringLiteral(" Byte"));
  auto* gaiji = MakeButton(text, "cmdGaiji", QStringLiteral("外字の変換設定(&G)..."));
  auto* lineRow = new QHBoxLayout;
  auto* lineLabel = new QLabel(QStringLiteral("1行の最大長(&L)："), text);
  lineLabel->setBuddy(txtLineSize_);
  lineRow->addWidget(lineLabel);
  lineRow->addWidget(txtLineSize_);
  lineRow->addWidget(new QLabel(QStringLiteral("（0=制限無し）"), text));
  lineRow->addStretch(1);
  auto* textLayout = new QVBoxLayout(text);
  textLayout->addWidget(chkJisEuc_);
  textLayout->addWidget(chkGaijiChar_);
  textLayout->addWidget(chkEof_);
  textLayout->addLayout(lineRow);
  textLayout->addWidget(gaiji, 0, Qt::AlignLeft);

  connect(gaiji, &QPushButton::clicked, this, [this] { if (openGaiji) openGaiji(this); });
  return text;
}

QGroupBox* SetupDialog::MakeExistingGroup() {
  const std::uint16_t fm = settings_.FileMode;
  const bool backup = fm & file_mode::kBackup;
  const bool trash = !backup && (fm & file_mode::kTrash);
  auto* existing = new QGroupBox(QStringLiteral("出力ファイルが既にある場合"), this);
  optBackup_ = MakeRadio(existing, "optBackup", QStringLiteral("拡張子を .bak にして残す(&B)"), backup);
  optTrash_ = MakeRadio(existing, "optTrash", QStringLiteral("ごみ箱に移す(&T)"), trash);
  optDelete_ = MakeRadio(existing, "optDelete", QStringLiteral("削除する(&R)"), !backup && !trash);
  auto* existingLayout = new QHBoxLayout(existing);
  existingLayout->addWidget(optBackup_);
  existingLayout->addWidget(optTrash_);
  existingLayout->addWidget(optDelete_);
  existingLayout->addStretch(1);

  return existing;
}

QGroupBox* SetupDialog::MakeFilesGroup() {
  const std::uint16_t fm = settings_.FileMode;
  auto* files = new QGroupBox(QStringLiteral("ファイルの扱い"), this);
  chkFolder_ = MakeCheck(files, "chkFolder", QStringLiteral("フォルダ選択を有効にする(&F)"),
                         fm & file_mode::kFolderSelect);
  chkMacDates_ = MakeCheck(files, "chkMacDates",
                           QStringLiteral("MacBinaryの作成日時・更新日時を出力ファイルに付ける(&M)"),
                           fm & file_mode::kMacDates);
  chkUnknownName_ = MakeCheck(files, "chkUnknownName",
                              QStringLiteral("不明なタイプのファイル名を 名前(クリエータ).タイプ にする(&N)"),
                              fm & file_mode::kUnknownName);
  chkDeleteInput_ = MakeCheck(files, "chkDeleteInput",
                              QStringLiteral("変換が終わったら入力ファイルを削除する(&I)"),
                              fm & file_mode::kDeleteInput);
  chkMacNames_ = MakeCheck(files, "chkMacNames",
                           QStringLiteral("フォルダ・ワイルドカードの変換でもMacのファイル名で出力する(&A)"),
                           fm & file_mode::kMacNames);
  auto* suffix = MakeButton(files, "cmdSuffix", QStringLiteral("拡張子の設定(&S)..."));
  auto* filesLayout = new QVBoxLayout(files);
  filesLayout->addWidget(chkFolder_);
  filesLayout->addWidget(chkMacDates_);
  filesLayout->addWidget(chkUnknownName_);
  filesLayout->addWidget(chkDeleteInput_);
  filesLayout->addWidget(chkMacNames_);
  filesLayout->addWidget(suffix, 0, Qt::AlignLeft);

  connect(suffix, &QPushButton::clicked, this, [this] {
    if (!openSuffix) return;
    openSuffix(this);
    // The suffix editor's OK sets the same bit as this check box.
    chkUnknownName_->setChecked(settings_.FileMode & file_mode::kUnknownName);
  });
  return files;
}

void SetupDialog::cmdExit_Click() {
  // ConvMode bits 2 and 16 and ExecMode belong to the other dialogs; FileMode
  // bits 2 and 32 are not the user's. They are kept as they stand.
  std::uint16_t cm = settings_.ConvMode;
  SetBit(cm, conv_mode::kAppendEof, chkEof_->isChecked());
  SetBit(cm, conv_mode::kFull, chkJisEuc_->isChecked());
  SetBit(cm, conv_mode::kGaijiAsChar, chkGaijiChar_->isChecked());
  settings_.ConvMode = cm;
  settings_.LineSize = static_cast<std::int16_t>(txtLineSize_->value());
  std::uint16_t fm = settings_.FileMode;
  SetBit(fm, file_mode::kBackup, optBackup_->isChecked());
  SetBit(fm, file_mode::kTrash, optTrash_->isChecked());
  SetBit(fm, file_mode::kFolderSelect, chkFolder_->isChecked());
  SetBit(fm, file_mode::kMacDates, chkMacDates_->isChecked());
  SetBit(fm, file_mode::kUnknownName, chkUnknownName_->isChecked());
  SetBit(fm, file_mode::kDeleteInput, chkDeleteInput_->isChecked());
  SetBit(fm, file_mode::kMacNames, chkMacNames_->isChecked());
  settings_.FileMode = fm;
}

}  // namespace ferrox::ui
